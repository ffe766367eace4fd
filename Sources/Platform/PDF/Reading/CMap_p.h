// Character maps: which codes a string holds, and which character identifiers or texts they stand for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvex {

/// Parsed once, then immutable. Threads: any.
class CMap {
public:
    /// Gives the map of a name that another one builds upon; null when there is none.
    using Named = std::function<std::shared_ptr<const CMap>(std::string_view name)>;

    /// Reads what can be read; never fails. Ranges stay ranges: memory is bounded by the source's size. The text of a
    /// code is cut at 64 UTF-16 units, and code spaces beyond the hundredth are passed over.
    static std::shared_ptr<const CMap> parse(std::string_view source, const Named& named = {},
                                             std::shared_ptr<const CMap> base = nullptr);
    /// Two-byte codes that are the identifiers.
    static std::shared_ptr<const CMap> identity(bool vertical);

    /// Codes that are UTF-16.
    static std::shared_ptr<const CMap> identityTexts();
    /// One of Adobe's maps, such as "90ms-RKSJ-H" or "Adobe-Japan1-UCS2", out of the files that are installed; read
    /// once per process. Null when there is none.
    static std::shared_ptr<const CMap> named(std::string_view name);

    [[nodiscard]] bool isVertical() const { return vertical_; }
    /// The character collection that the identifiers belong to, "Japan1" for example; empty when the map is silent.
    [[nodiscard]] const std::string& ordering() const { return ordering_; }
    /// Bytes that reading it took, its source and what was made of that; those of what it builds upon as well.
    [[nodiscard]] std::size_t cost() const { return cost_; }
    [[nodiscard]] bool hasTexts() const { return !texts_.empty() || (base_ && base_->hasTexts()); }

    struct Code {
        std::uint32_t value = 0;
        std::uint8_t length = 1;
    };
    /// The code that `string` (not empty) begins with. Bytes that no code space holds make a code as long as the
    /// shortest one that may begin so.
    [[nodiscard]] Code next(std::string_view string) const;
    /// Whether next() takes two bytes, whatever they are.
    [[nodiscard]] bool isTwoByte() const { return twoByte_; }

    /// The identifier of a code; none when the map does not hold it.
    [[nodiscard]] std::optional<std::uint32_t> identifier(Code code) const;
    /// Appends the text of a code, whatever its length, as UTF-8; false when the map does not hold it or says that the
    /// character is not known.
    bool appendText(std::string& text, std::uint32_t code) const;

private:
    friend class CMapParser;
    /// Each byte of a code lies between the bytes of the bounds.
    struct CodeSpace {
        std::uint32_t low;
        std::uint32_t high;
        std::uint8_t length;
        [[nodiscard]] bool holds(std::uint32_t code, unsigned bytes) const;
    };
    /// Keys `low` to `high`. What `first` stands for begins with `value`: an identifier, or where the text lies.
    struct Range {
        std::uint64_t low;
        std::uint64_t high;
        std::uint64_t first;
        std::uint32_t value;
        std::uint32_t size; ///< UTF-16 units of the text; for identifiers 1 when they rise with the code, 0 when not
    };
    static std::uint64_t key(Code code) { return (std::uint64_t{code.length} << 32U) | code.value; }
    static const Range* find(const std::vector<Range>& ranges, std::uint64_t key);
    static void settle(std::vector<Range>& ranges);
    void finish();

    std::vector<CodeSpace> spaces_;
    std::vector<Range> identifiers_;
    std::vector<Range> undefined_;
    std::vector<Range> texts_;
    std::u16string pool_;
    std::shared_ptr<const CMap> base_;
    std::string ordering_;
    std::size_t cost_ = 0;
    bool vertical_ = false;
    bool twoByte_ = false;
};

} // namespace orvex
