#include "Platform/Foundation/UserDefaults.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace orvex {

namespace {

struct Store {
    std::mutex mutex;
    std::map<std::string, bool> values;
    std::shared_ptr<const std::function<std::string(std::string_view)>> strings;
};

Store& store() {
    static auto* shared = new Store; // never destroyed: read until the process ends
    return *shared;
}

bool isYes(char c) {
    return c == 'Y' || c == 'y' || c == 'T' || c == 't';
}

/// Blanks, then a yes-letter, or an optional sign and zeros before a digit that is not zero.
bool boolValue(std::string_view text) {
    const auto skip = [&text](std::string_view characters) {
        text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
    };
    skip(" \t\n\v\f\r");
    if (!text.empty() && isYes(text.front())) {
        return true;
    }
    if (text.starts_with('+') || text.starts_with('-')) {
        text.remove_prefix(1);
    }
    skip("0");
    return !text.empty() && text.front() >= '1' && text.front() <= '9';
}

std::string environmentName(const std::string& key) {
    std::string name = "ORVEX_";
    for (const char c : key) {
        const auto byte = static_cast<unsigned char>(c);
        name += std::isalnum(byte) != 0 ? static_cast<char>(std::toupper(byte)) : '_';
    }
    return name;
}

std::optional<bool> storedValue(const std::string& key) {
    const std::lock_guard lock(store().mutex);
    const auto found = store().values.find(key);
    return found == store().values.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

UserDefaults& UserDefaults::standard() {
    static UserDefaults defaults;
    return defaults;
}

void UserDefaults::set(const std::string& key, bool value) {
    const std::lock_guard lock(store().mutex);
    store().values[key] = value;
}

void UserDefaults::set(const std::string& key, double value) {
    set(key, value != 0);
}

void UserDefaults::set(const std::string& key, const std::string& value) {
    set(key, boolValue(value));
}

void UserDefaults::remove(const std::string& key) {
    const std::lock_guard lock(store().mutex);
    store().values.erase(key);
}

bool UserDefaults::boolForKey(const std::string& key) const {
    if (const auto value = storedValue(key)) {
        return *value;
    }
    const char* value = std::getenv(environmentName(key).c_str());
    return value != nullptr && boolValue(value);
}

std::string localizedString(std::string_view key) {
    std::shared_ptr<const std::function<std::string(std::string_view)>> table;
    {
        const std::lock_guard lock(store().mutex);
        table = store().strings;
    }
    std::string text = table ? (*table)(key) : std::string();
    return text.empty() ? std::string(key) : text;
}

void setLocalizedStringTable(std::function<std::string(std::string_view key)> table) {
    auto shared =
        table ? std::make_shared<const std::function<std::string(std::string_view)>>(std::move(table)) : nullptr;
    const std::lock_guard lock(store().mutex);
    store().strings = std::move(shared);
}

} // namespace orvex
