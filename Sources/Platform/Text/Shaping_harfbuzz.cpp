#include "Platform/Text/Shaping.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/Text/Bidi.h"
#include "Platform/Text/FontFiles_p.h"

#include <hb.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>

namespace orvex {

namespace {

template <auto destroy> struct Destroy {
    template <class T> void operator()(T* object) const { destroy(object); }
};
using HbFont = std::unique_ptr<hb_font_t, Destroy<hb_font_destroy>>;
using HbBuffer = std::unique_ptr<hb_buffer_t, Destroy<hb_buffer_destroy>>;

/// An opened face; fonts and faces of the shaper may be used by several threads once they are made.
struct Face {
    explicit Face(const FontFile& file) {
        hb_blob_t* blob = hb_blob_create_from_file(file.path.c_str());
        hb_face_t* face = hb_face_create(blob, file.index);
        font.reset(hb_font_create(face));
        unitsPerEm = std::max(1U, hb_face_get_upem(face));
        hb_face_destroy(face);
        hb_blob_destroy(blob);
        hb_font_make_immutable(font.get());
    }
    [[nodiscard]] bool has(char32_t character) const {
        hb_codepoint_t glyph = 0;
        return hb_font_get_nominal_glyph(font.get(), character, &glyph) != 0;
    }
    HbFont font;
    double unitsPerEm = 1;
};

/// Faces and the choice of faces, for the life of the process.
class Faces {
public:
    static Faces& shared() {
        static Faces faces;
        return faces;
    }

    const Face& open(const FontFile& file) {
        const std::lock_guard lock(mutex_);
        return faces_.try_emplace(file, file).first->second;
    }

    /// An installed face for a character that the wanted face lacks.
    std::optional<FontFile> standIn(char32_t character, bool bold) {
        const std::lock_guard lock(mutex_);
        const auto [entry, isNew] = standIns_.try_emplace({character, bold});
        if (isNew) {
            entry->second = fontFileWith(character, bold);
        }
        return entry->second;
    }

private:
    std::mutex mutex_;
    std::map<FontFile, Face> faces_;
    std::map<std::pair<char32_t, bool>, std::optional<FontFile>> standIns_;
};

std::u32string decoded(std::string_view utf8) {
    std::u32string text;
    for (std::size_t at = 0; at < utf8.size();) {
        text += nextCodePoint(utf8, at);
    }
    return text;
}

/// The face for each character: the wanted one where it can, and marks with what they stand on.
std::vector<FontFile> chooseFiles(std::u32string_view text, const Font& font) {
    const FontFile own{font.path(), 0};
    const Face& wanted = Faces::shared().open(own);
    std::vector<FontFile> files;
    for (const char32_t character : text) {
        const bool withPrevious = !files.empty() && takesNoRoom(character) &&
                                  (Faces::shared().open(files.back()).has(character) || !wanted.has(character));
        if (withPrevious) {
            files.push_back(files.back());
        } else if (wanted.has(character)) {
            files.push_back(own);
        } else {
            files.push_back(Faces::shared().standIn(character, font.isBold()).value_or(own));
        }
    }
    return files;
}

/// A cluster's text goes to its first glyph: from its own start to the start of the cluster that follows in the text.
void giveText(ShapedRun& run, std::span<const hb_glyph_info_t> infos, std::u32string_view text, std::size_t end) {
    std::set<std::size_t> starts{end};
    for (const auto& info : infos) {
        starts.insert(info.cluster);
    }
    for (std::size_t i = 0; i < infos.size(); ++i) {
        if (i == 0 || infos[i - 1].cluster != infos[i].cluster) {
            const std::size_t from = infos[i].cluster;
            run.glyphs[i].text = text.substr(from, *starts.upper_bound(from) - from);
        }
    }
}

/// Glyphs of text[start, start + length), all of one face and direction.
ShapedRun shapeRun(std::u32string_view text, std::size_t start, std::size_t length, bool rightToLeft,
                   const FontFile& file) {
    const Face& face = Faces::shared().open(file);
    const HbBuffer buffer(hb_buffer_create());
    hb_buffer_add_utf32(buffer.get(), reinterpret_cast<const std::uint32_t*>(text.data()),
                        static_cast<int>(text.size()), static_cast<unsigned>(start), static_cast<int>(length));
    hb_buffer_set_direction(buffer.get(), rightToLeft ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
    hb_buffer_guess_segment_properties(buffer.get());
    hb_shape(face.font.get(), buffer.get(), nullptr, 0);

    unsigned count = 0;
    const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer.get(), &count);
    const hb_glyph_position_t* positions = hb_buffer_get_glyph_positions(buffer.get(), &count);
    ShapedRun run{file, {}};
    for (unsigned i = 0; i < count; ++i) {
        ShapedGlyph glyph;
        glyph.id = infos[i].codepoint;
        glyph.advance = positions[i].x_advance / face.unitsPerEm;
        glyph.ownAdvance = hb_font_get_glyph_h_advance(face.font.get(), glyph.id) / face.unitsPerEm;
        glyph.offset = {positions[i].x_offset / face.unitsPerEm, positions[i].y_offset / face.unitsPerEm};
        run.glyphs.push_back(std::move(glyph));
    }
    giveText(run, {infos, count}, text, start + length);
    return run;
}

void appendRuns(ShapedLine& line, std::u32string_view text, const DirectionRun& direction,
                const std::vector<FontFile>& files) {
    std::vector<ShapedRun> runs;
    const std::size_t end = direction.start + direction.length;
    for (std::size_t start = direction.start; start < end;) {
        std::size_t next = start + 1;
        while (next < end && files[next] == files[start]) {
            ++next;
        }
        runs.push_back(shapeRun(text, start, next - start, direction.rightToLeft, files[start]));
        start = next;
    }
    if (direction.rightToLeft) {
        std::ranges::reverse(runs);
    }
    std::ranges::move(runs, std::back_inserter(line.runs));
}

} // namespace

ShapedLine shapeLine(std::string_view utf8, const Font& font) {
    const std::u32string text = decoded(utf8);
    const auto files = chooseFiles(text, font);
    ShapedLine line;
    for (const auto& direction : directionRuns(text)) {
        appendRuns(line, text, direction, files);
    }
    for (const auto& run : line.runs) {
        for (const auto& glyph : run.glyphs) {
            line.width += glyph.advance;
        }
    }
    return line;
}

TextExtent measureShownText(std::string_view utf8, const Font& font, double size) {
    TextExtent extent;
    for (const auto line : textLines(utf8)) {
        extent.width = std::max(extent.width, shapeLine(line, font).width * size);
        extent.height += size;
    }
    return extent;
}

} // namespace orvex
