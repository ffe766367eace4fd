// The glyphs of a composite font: codes of one to four bytes, looked up when they are first met.
#pragma once

#include "Platform/PDF/Reading/CMap_p.h"
#include "Platform/PDF/Reading/TextFont_p.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace orvex {

/// How codes are Unicode themselves.
enum class TextCoding : unsigned char { none, utf8, utf16, utf32 };

/// What a composite font is made of.
struct CompositeFontParts {
    /// Identifiers `first` to `last` have these values.
    struct Metrics {
        std::uint32_t first;
        std::uint32_t last;
        float advance;                  ///< w0, or w1y
        float originX = 0, originY = 0; ///< vertical only
    };
    std::shared_ptr<const CMap> encoding;
    std::shared_ptr<const CMap> toUnicode;     ///< from codes; may be null
    std::shared_ptr<const CMap> ofIdentifiers; ///< texts of identifiers; may be null
    std::vector<std::string> glyphTexts;       ///< texts by identifier, where no map is
    TextCoding coding = TextCoding::none;
    std::vector<Metrics> widths;    ///< settled: sorted, apart
    std::vector<Metrics> verticals; ///< the same
    float width = 1;                ///< of identifiers that `widths` lacks
    float originY = 0.88F;
    float advance = -1; ///< vertical, of identifiers that `verticals` lacks
};

/// Threads: any.
class CompositeGlyphs {
public:
    /// Of all fonts together. A page takes 3 KB and, for the texts of its 64 glyphs, usually less than that, at the
    /// most 13 KB: all of them 600 MB. Real files have a few hundred.
    static constexpr int mostPages = 40'000;

    /// While `pages` are kept, further glyphs are made each time that they are shown.
    explicit CompositeGlyphs(CompositeFontParts parts, int pages = mostPages);
    ~CompositeGlyphs();
    CompositeGlyphs(const CompositeGlyphs&) = delete;
    CompositeGlyphs& operator=(const CompositeGlyphs&) = delete;

    /// As TextFont::next() has it.
    TextGlyph next(std::string_view& string, std::string& spare) const;

private:
    static constexpr std::uint32_t pageSize = 64;
    /// Glyphs of neighbouring codes.
    struct Page {
        static inline std::atomic<int> alive = 0;
        Page();
        ~Page();
        Page(const Page&) = delete;
        Page& operator=(const Page&) = delete;
        std::array<TextGlyph, pageSize> glyphs;
        std::string texts;
    };
    [[nodiscard]] TextGlyph glyph(CMap::Code code, std::string& spare) const;
    /// Null when there are too many.
    [[nodiscard]] const Page* shortPage(std::atomic<const Page*>& slot, CMap::Code first) const;
    [[nodiscard]] const Page* longPage(std::uint64_t key, CMap::Code first) const;
    [[nodiscard]] std::unique_ptr<const Page> makePage(CMap::Code first) const;
    [[nodiscard]] TextGlyph makeGlyph(CMap::Code code, std::uint32_t id) const;
    [[nodiscard]] std::string textOf(CMap::Code code, std::uint32_t id) const;

    CompositeFontParts parts_;
    int mostPages_;
    mutable std::array<std::atomic<const Page*>, 256 / pageSize> oneByte_{};
    mutable std::array<std::atomic<const Page*>, 65536 / pageSize> twoByte_{};
    mutable std::mutex longMutex_;
    mutable std::unordered_map<std::uint64_t, std::unique_ptr<const Page>>
        longer_; ///< of codes of three and four bytes
};

} // namespace orvex
