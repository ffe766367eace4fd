#include "Platform/PDF/FieldAppearances_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/ContentStream_p.h"
#include "Platform/PDF/FieldFrame_p.h"
#include "Platform/PDF/FieldText_p.h"
#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/Reading/StreamBytes_p.h"
#include "Platform/PDF/Saving/Form_p.h"
#include "Platform/PDF/Saving/Items_p.h"

#include <algorithm>
#include <set>

namespace orvex {

namespace {

/// Flags of fields, by the positions that PDF gives them, from 1.
constexpr long long flag(int position) {
    return 1LL << (position - 1);
}
constexpr long long multiline = flag(13);
constexpr long long password = flag(14);
constexpr long long fileChoice = flag(21);
constexpr long long comb = flag(25);
constexpr long long radio = flag(16);
constexpr long long push = flag(17);
constexpr long long combo = flag(18);

constexpr std::size_t longestValue = 10'000;   // bytes; no field shows more
constexpr std::size_t longestPage = 1'000'000; // of all its fields together
constexpr int mostOptions = 100'000;           // of all its choices together
constexpr long long mostCells = 1000;

std::string nameOf(QPDFObjectHandle value) {
    return value.isName() ? value.getName() : std::string();
}

long long integerOf(QPDFObjectHandle value) {
    return value.isInteger() ? value.getIntValue() : 0;
}

/// A text string or a stream of one, with plain ends of lines.
std::string textOf(QPDFObjectHandle value) {
    if (value.isStream()) {
        value = QPDFObjectHandle::newString(decodedBytes(value, longestValue));
    }
    std::string text = value.isString() ? value.getUTF8Value() : value.isName() ? value.getName().substr(1) : "";
    std::string plain;
    for (std::size_t i = 0; i < text.size() && plain.size() < longestValue; ++i) {
        if (text[i] != '\r') {
            plain += text[i];
        } else if (i + 1 == text.size() || text[i + 1] != '\n') {
            plain += '\n';
        }
    }
    return plain;
}

/// The options of a choice: what each shows, and what it is called in the value.
struct Option {
    std::string shown;
    std::string value;
};

class AppearanceMaker {
public:
    AppearanceMaker(QPDF& target, QPDFObjectHandle form) : target_(target), form_(form), fonts_(target, fontsOf(form)) {
        auto need = form_.getKey("/NeedAppearances");
        makesAll_ = need.isBool() && need.getBoolValue();
    }

    void make(QPDFObjectHandle widget) {
        if (!widget.isDictionary() || !widget.getKey("/Subtype").isNameAndEquals("/Widget") ||
            (widget.isIndirect() && !seen_.insert(widget.getObjGen()).second)) {
            return;
        }
        const auto rect = readRectangle(widget.getKey("/Rect"));
        if (!rect) {
            return;
        }
        const auto kind = nameOf(inheritedAttribute(widget, "/FT"));
        const auto flags = integerOf(inheritedAttribute(widget, "/Ff"));
        const bool isText = kind == "/Tx" || kind == "/Ch";
        if (!isText && kind != "/Btn") { // signatures show what was signed, if anything
            return;
        }
        if (hasLook(widget) && !(isText && makesAll_)) {
            return;
        }
        start(widget, rect->size());
        if (isText) {
            kind == "/Ch" && (flags & combo) == 0 ? list(widget) : text(widget, kind == "/Ch", flags);
        } else if ((flags & push) != 0) {
            caption(widget);
        } else {
            button(widget, (flags & radio) != 0);
        }
        give(widget);
    }

    void finish() { fonts_.embed(); }

private:
    static QPDFObjectHandle fontsOf(QPDFObjectHandle form) {
        auto resources = form.getKey("/DR");
        return resources.isDictionary() ? resources.getKey("/Font") : QPDFObjectHandle::newNull();
    }

    static bool hasLook(QPDFObjectHandle widget) {
        auto looks = widget.getKey("/AP");
        auto normal = looks.isDictionary() ? looks.getKey("/N") : QPDFObjectHandle::newNull();
        return normal.isStream() || (normal.isDictionary() && !normal.getKeys().empty());
    }

    void start(QPDFObjectHandle widget, Size size) {
        auto look = widget.getKey("/MK");
        const long long turn = look.isDictionary() ? (integerOf(look.getKey("/R")) % 360 + 360) % 360 : 0;
        turn_ = turn % 90 == 0 ? static_cast<int>(turn) : 0;
        box_ = size;
        if (turn_ % 180 != 0) {
            std::swap(box_.width, box_.height);
        }
        content_.clear();
        usedFonts_ = QPDFObjectHandle::newDictionary();
        auto own = inheritedAttribute(widget, "/DA");
        own = own.isString() ? own : form_.getKey("/DA");
        defaults_ = readDefaultAppearance(own.isString() ? own.getStringValue() : "");
    }

    std::vector<Option> optionsOf(QPDFObjectHandle widget) {
        std::vector<Option> options;
        for (const auto& item : firstItems(inheritedAttribute(widget, "/Opt"), optionsLeft_)) {
            const auto pair = firstItems(item, 2);
            options.push_back(pair.size() == 2 ? Option{textOf(pair[1]), textOf(pair[0])}
                                               : Option{textOf(item), textOf(item)});
        }
        optionsLeft_ -= static_cast<int>(options.size());
        return options;
    }

    /// What the field's value says, in clear or as a password.
    std::string valueOf(QPDFObjectHandle widget, bool isChoice, long long flags) {
        auto value = inheritedAttribute(widget, "/V");
        std::string text = textOf(value.isArray() && value.getArrayNItems() > 0 ? value.getArrayItem(0) : value);
        if (isChoice) {
            const auto options = optionsOf(widget);
            const auto chosen = std::ranges::find(options, text, &Option::value);
            return chosen != options.end() ? chosen->shown : text;
        }
        if ((flags & multiline) == 0) {
            std::ranges::replace(text, '\n', ' ');
        }
        return (flags & password) != 0 ? std::string(countCharacters(text), '*') : text;
    }

    void text(QPDFObjectHandle widget, bool isChoice, long long flags) {
        const FieldFrame frame(widget);
        auto quadding = inheritedAttribute(widget, "/Q");
        FieldLayout layout{box_, frame.width,
                           static_cast<int>(integerOf(quadding.isInteger() ? quadding : form_.getKey("/Q"))), false, 0};
        if (!isChoice) {
            const auto most = integerOf(inheritedAttribute(widget, "/MaxLen"));
            layout.multiline = (flags & multiline) != 0;
            const bool isComb = (flags & comb) != 0 && (flags & (multiline | password | fileChoice)) == 0;
            layout.cells = isComb && most > 0 && most <= mostCells ? static_cast<int>(most) : 0;
        }
        content_ += frame.rectangle(box_) + (layout.cells > 1 ? frame.dividers(box_, layout.cells) : "");
        showText(valueOf(widget, isChoice, flags), layout);
    }

    void showText(std::string_view text, const FieldLayout& layout) {
        const auto& font = fonts_.named(defaults_.font);
        written_ += text.size();
        if (text.empty() || written_ > longestPage) {
            return;
        }
        open(layout.border);
        const auto lines = layOut(text, font, defaults_.size, layout);
        for (const auto& line : lines.lines) {
            fonts_.show(content_, usedFonts_, font, line.text, lines.size, line.baseline);
        }
        content_ += "Q\nEMC\n";
    }

    /// Clips to the inside of the frame and sets the text's colour.
    void open(double border) {
        content_ += "/Tx BMC\nq\n";
        appendOperator(content_, {border, border, box_.width - 2 * border, box_.height - 2 * border}, "re W n");
        content_ += defaults_.color;
    }

    std::set<std::string> chosenOf(QPDFObjectHandle widget) {
        auto value = inheritedAttribute(widget, "/V");
        if (!value.isArray()) {
            return {textOf(value)};
        }
        std::set<std::string> chosen;
        for (const auto& one : firstItems(value, optionsLeft_)) {
            chosen.insert(textOf(one));
        }
        optionsLeft_ -= static_cast<int>(chosen.size());
        return chosen;
    }

    /// The options from the first that is to be seen, the chosen ones on a bar of colour.
    void list(QPDFObjectHandle widget) {
        const FieldFrame frame(widget);
        content_ += frame.rectangle(box_);
        open(frame.width);
        const auto& font = fonts_.named(defaults_.font);
        const double size = defaults_.size > 0 ? defaults_.size : 12;
        const double row = 1.15 * size;
        const auto chosen = chosenOf(widget);
        const auto options = optionsOf(widget);
        const auto first = std::max(0LL, integerOf(inheritedAttribute(widget, "/TI")));
        double top = box_.height - 2 * frame.width;
        for (auto i = static_cast<std::size_t>(first); i < options.size() && top > 0; ++i, top -= row) {
            const auto& option = options[i];
            if (written_ += option.shown.size(); written_ > longestPage) {
                break;
            }
            if (chosen.contains(option.value)) {
                content_ += "q\n0.6 0.75686 0.8549 rg\n"; // the bar's usual colour
                appendOperator(content_, {0.0, top - row, box_.width, row}, "re f\nQ");
            }
            fonts_.show(content_, usedFonts_, font, option.shown, size, {2 + frame.width, top - 0.9 * size});
        }
        content_ += "Q\nEMC\n";
    }

    void caption(QPDFObjectHandle widget) {
        const FieldFrame frame(widget);
        content_ += frame.rectangle(box_);
        if (auto look = widget.getKey("/MK"); look.isDictionary()) {
            showText(textOf(look.getKey("/CA")), {box_, frame.width, 1, false, 0});
        }
    }

    /// Without looks nothing tells what the state that is on is called.
    static bool isOn(QPDFObjectHandle widget) {
        auto state = widget.getKey("/AS");
        if (!state.isName() && (widget.hasKey("/T") || !widget.hasKey("/Parent"))) {
            state = inheritedAttribute(widget, "/V");
        }
        return state.isName() && state.getName() != "/Off";
    }

    /// A check box or a radio button: a character of ZapfDingbats in the middle.
    void button(QPDFObjectHandle widget, bool isRadio) {
        const FieldFrame frame(widget);
        auto look = widget.getKey("/MK");
        const std::string asked = look.isDictionary() ? textOf(look.getKey("/CA")) : std::string();
        const std::string mark = asked.size() == 1 ? asked : isRadio ? "l" : "4";
        content_ += isRadio && mark == "l" ? frame.circle(box_) : frame.rectangle(box_);
        if (!isOn(widget)) {
            return;
        }
        usedFonts_.replaceKey("/ZaDb", fonts_.standardFont("ZapfDingbats"));
        const double room = std::min(box_.width, box_.height) - 2 * frame.width;
        const double size = defaults_.size > 0 ? defaults_.size : 0.8 * room;
        constexpr double advance = 0.8; // of the usual marks
        constexpr double rise = 0.7;    // and their height above the baseline
        content_ += "q\nBT\n" + defaults_.color + "/ZaDb ";
        appendOperator(content_, {size}, "Tf");
        appendOperator(content_, {(box_.width - advance * size) / 2, (box_.height - rise * size) / 2}, "Td");
        content_ += QPDFObjectHandle::newString(mark).unparse() + " Tj\nET\nQ\n";
    }

    /// Readers fit it into the annotation's rectangle, so that its matrix only turns it.
    void give(QPDFObjectHandle widget) {
        auto stream = target_.newStream(content_);
        auto dictionary = stream.getDict();
        dictionary.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
        dictionary.replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
        dictionary.replaceKey("/BBox",
                              QPDFObjectHandle::newArray(QPDFObjectHandle::Rectangle(0, 0, box_.width, box_.height)));
        const char* matrix = turn_ == 90 ? "[0 1 -1 0 0 0]" : turn_ == 180 ? "[-1 0 0 -1 0 0]" : "[0 -1 1 0 0 0]";
        if (turn_ != 0) {
            dictionary.replaceKey("/Matrix", QPDFObjectHandle::parse(matrix));
        }
        auto resources = QPDFObjectHandle::newDictionary();
        resources.replaceKey("/Font", usedFonts_);
        dictionary.replaceKey("/Resources", resources);
        auto looks = QPDFObjectHandle::newDictionary();
        looks.replaceKey("/N", stream);
        widget.replaceKey("/AP", looks);
    }

    QPDF& target_;
    QPDFObjectHandle form_;
    FieldFonts fonts_;
    std::set<QPDFObjGen> seen_;
    bool makesAll_ = false;
    std::size_t written_ = 0;
    int optionsLeft_ = mostOptions;
    // Of the field that is being made.
    Size box_;
    int turn_ = 0;
    DefaultAppearance defaults_;
    std::string content_;
    QPDFObjectHandle usedFonts_;
};

} // namespace

void makeMissingAppearances(Composition& document) {
    mergeForms(document);
    auto form = document.target.getRoot().getKey("/AcroForm");
    if (!form.isDictionary()) {
        return;
    }
    AppearanceMaker maker(document.target, form);
    for (auto& page : document.pages) {
        for (const auto& annotation : items(page.object.getKey("/Annots"))) {
            maker.make(annotation);
        }
    }
    maker.finish();
}

} // namespace orvex
