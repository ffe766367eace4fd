// A host's settings as the library reads them, and its localised strings.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace orvex {

/// Process-wide settings in memory; a host copies its own into them. Threads: any.
class UserDefaults {
public:
    static UserDefaults& standard();
    void set(const std::string& key, bool value);
    void set(const std::string& key, double value);
    /// Text counts as true when, after blanks, it starts with Y, y, T, t or a non-zero number.
    void set(const std::string& key, const std::string& value);
    void remove(const std::string& key);
    /// False when the key is missing. The environment variable ORVEX_<KEY> (upper-case) stands behind the store.
    [[nodiscard]] bool boolForKey(const std::string& key) const;
};

/// The host's translation of a key, or the key itself. The table is a function key -> text, empty text meaning none.
std::string localizedString(std::string_view key);
void setLocalizedStringTable(std::function<std::string(std::string_view key)> table);

} // namespace orvex
