// Runs content for the sake of its text: keeps the graphics state as far as text depends on it and places glyphs.
#pragma once

#include "Platform/PDF/Reading/ContentResources_p.h"
#include "Platform/PDF/Reading/PageGlyphs_p.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvex {

/// What reading one page may cost; beyond it reading ends with what there is.
struct ReadingLimits {
    std::size_t contentBytes = std::size_t{256} << 20; ///< of all streams, unpacked, each time that they are run
    std::size_t glyphs = std::size_t{1} << 20;
    std::size_t forms = 50'000;
    std::size_t formDepth = 24;
    std::size_t savedStates = 10'000;
    std::size_t items = 100'000; ///< of text layers, that say what they stand for
    std::size_t fonts = 1'000;
    std::size_t fontBytes = std::size_t{256} << 20; ///< that making them takes
    std::size_t textBytes = std::size_t{32} << 20;  ///< of glyphs and of what replaces some, each time that it does
};

class ContentReader {
public:
    ContentReader(const PDFSource& source, ReadingCache& cache, const Rect& mediaBox, PageGlyphs& glyphs,
                  const ReadingLimits& limits = {});

    /// Ends as soon as there is anything but white space.
    void stopAtFirstText() { stopAtFirstText_ = true; }
    /// `buffer` holds the content; it is not needed afterwards.
    void read(const ContentBuffer& content, ContentResources& resources);

private:
    struct State {
        AffineTransform ctm;
        std::optional<Rect> clip;       ///< in page space, around what is not clipped away
        const TextFont* font = nullptr; ///< the page's glyphs keep it
        bool isTextLayer = false;
        double fontSize = 0;
        double characterSpacing = 0;
        double wordSpacing = 0;
        double horizontalScaling = 1;
        double leading = 0;
        double rise = 0;
    };
    struct Mark {
        bool hidden = false;
        std::shared_ptr<const std::string> actualText; ///< UTF-8; null where there is none
        std::size_t firstGlyph = 0;
        bool isItem = false;
    };

    void runAll(const ContentBuffer& content);
    void run(const ContentScanner& scanner);
    bool runShowing(const ContentScanner& scanner);
    bool runText(const ContentScanner& scanner);
    bool runTextState(const ContentScanner& scanner);
    bool runGraphics(const ContentScanner& scanner);
    bool runMarks(const ContentScanner& scanner);

    void save();
    void restore();
    void setFont(std::span<const Operand> operands);
    void useGraphicsState(std::span<const Operand> operands);
    void moveLine(double x, double y);
    void addRectangle(std::span<const Operand> operands);
    void endPath();
    void clipTo(const Rect& box, const AffineTransform& transform);
    void beginMark(const ContentScanner& scanner);
    void endMark();
    void replaceText(const Mark& mark);
    [[nodiscard]] bool take(std::size_t bytes);

    void showString(const Operand& string, const ContentScanner& scanner);
    void showArray(const ContentScanner& scanner);
    void endTracking();
    void show(std::string_view bytes);
    void place(std::string_view text, Point origin, double width);
    void updateStyle(const AffineTransform& matrix);
    void addStyle();
    [[nodiscard]] TextFontCache::IfNew ifNewFont() const;
    void use(const FontUse& font, double size);
    [[nodiscard]] bool isShown(const Glyph& glyph, const GlyphStyle& style) const;

    void runForm(std::string_view name);
    void runFormContent(const FormUse& form);

    const PDFSource& source_;
    ReadingCache& cache_;
    Rect mediaBox_;
    PageGlyphs& page_;
    ContentResources* resources_ = nullptr;
    ReadingLimits limits_;

    State state_;
    std::vector<State> saved_;
    std::size_t unsaved_ = 0; ///< saves beyond the limit
    AffineTransform textMatrix_;
    AffineTransform lineMatrix_;
    std::vector<Mark> marks_;
    std::size_t hiddenMarks_ = 0;
    std::size_t replacingMarks_ = 0;
    std::vector<QPDFObjGen> runningForms_;

    std::optional<Rect> path_; ///< when the path is one upright rectangle
    bool pathIsEmpty_ = true;
    bool clipPending_ = false;

    /// What the last style was made for.
    struct StyleKey {
        AffineTransform matrix; ///< text space to page space, without its translation
        const TextFont* font = nullptr;
        double fontSize = 0;
        double horizontalScaling = 0;
        std::uint32_t item = 0;
        friend bool operator==(const StyleKey&, const StyleKey&) = default;
    };
    StyleKey styleKey_;
    std::uint32_t items_ = 0; ///< of a text layer: a text object is one, and so is each place that it moves to
    bool inItem_ = false;     ///< one that says what it stands for
    float tracking_ = 0;      ///< character spacing in page space
    std::string stringBuffer_;
    std::string spareText_; ///< of a glyph that its font does not keep
    bool stopAtFirstText_ = false;
    bool exhausted_ = false;
};

} // namespace orvex
