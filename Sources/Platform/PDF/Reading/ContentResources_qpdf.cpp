#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/Reading/ContentResources_p.h"
#include "Platform/PDF/Syntax_p.h"

#include <qpdf/QPDF.hh>

#include <algorithm>

namespace orvex {

namespace {

constexpr int mostGroups = 10'000;
constexpr int deepestExpression = 32;

/// A name as qpdf keeps it: with its slash, without escapes.
std::string keyOf(std::string_view name) {
    std::string key = "/";
    for (std::size_t at = 0; at < name.size(); ++at) {
        const auto digit = [&](std::size_t i) { return i < name.size() ? hexDigit(name[i]) : -1; };
        if (name[at] == '#' && digit(at + 1) >= 0 && digit(at + 2) >= 0) {
            key += static_cast<char>(digit(at + 1) << 4 | digit(at + 2));
            at += 2;
        } else {
            key += name[at];
        }
    }
    return key;
}

/// Told from the file's bytes, so that the parser need not keep the pictures of all pages.
bool isImageInFile(const PDFSource& source, const QPDFObjectHandle& stream) {
    StoredObject object;
    if (!stream.isIndirect() || source.storedObjects() == nullptr ||
        !source.storedObjects()->read(source.pdf(), stream.getObjGen(), object)) {
        return false;
    }
    const auto* subtype = findEntry(object.entries, "/Subtype");
    return object.data != 0 && subtype != nullptr && subtype->text == "/Image";
}

} // namespace

void ReadingCache::readLayers(const PDFSource& source) {
    layersRead_ = true;
    auto properties = source.pdf().getRoot().getKey("/OCProperties");
    auto config = properties.isDictionary() ? properties.getKey("/D") : QPDFObjectHandle::newNull();
    if (!config.isDictionary()) {
        return;
    }
    auto base = config.getKey("/BaseState");
    hidesByDefault_ = base.isNameAndEquals("/OFF");
    auto groups = config.getKey(hidesByDefault_ ? "/ON" : "/OFF");
    for (int i = 0; groups.isArray() && i < std::min(groups.getArrayNItems(), mostGroups); ++i) {
        exceptions_.insert(groups.getArrayItem(i).getObjGen());
    }
}

bool ReadingCache::isGroupHidden(QPDFObjectHandle group) const {
    return group.isDictionary() && exceptions_.contains(group.getObjGen()) != hidesByDefault_;
}

bool ReadingCache::isHidden(const PDFSource& source, QPDFObjectHandle optionalContent) {
    if (!optionalContent.isDictionary()) {
        return false;
    }
    if (!layersRead_) {
        readLayers(source);
    }
    if (!optionalContent.getKey("/Type").isNameAndEquals("/OCMD")) {
        return isGroupHidden(optionalContent);
    }
    if (auto expression = optionalContent.getKey("/VE"); expression.isArray()) {
        int budget = mostGroups;
        return !isVisible(expression, 0, budget);
    }
    return isMembershipHidden(optionalContent.getKey("/OCGs"), optionalContent.getKey("/P"));
}

bool ReadingCache::isMembershipHidden(QPDFObjectHandle groups, QPDFObjectHandle policy) const {
    if (!groups.isArray()) {
        return isGroupHidden(groups);
    }
    int count = 0;
    int hidden = 0;
    for (int i = 0; i < std::min(groups.getArrayNItems(), mostGroups); ++i) {
        auto group = groups.getArrayItem(i);
        count += group.isDictionary() ? 1 : 0;
        hidden += isGroupHidden(group) ? 1 : 0;
    }
    if (count == 0) {
        return false;
    }
    if (policy.isNameAndEquals("/AllOn")) {
        return hidden > 0;
    }
    if (policy.isNameAndEquals("/AnyOff")) {
        return hidden == 0;
    }
    if (policy.isNameAndEquals("/AllOff")) {
        return hidden < count;
    }
    return hidden == count;
}

/// A group, or an array of an operator and what it is applied to.
bool ReadingCache::isVisible(QPDFObjectHandle expression, int depth, int& budget) const {
    if (!expression.isArray()) {
        return !isGroupHidden(expression);
    }
    if (depth > deepestExpression || expression.getArrayNItems() == 0) {
        return true;
    }
    auto operation = expression.getArrayItem(0);
    const bool all = operation.isNameAndEquals("/And");
    for (int i = 1; i < expression.getArrayNItems() && --budget > 0; ++i) {
        const bool visible = isVisible(expression.getArrayItem(i), depth + 1, budget);
        if (operation.isNameAndEquals("/Not")) {
            return !visible;
        }
        if (visible != all) {
            return visible;
        }
    }
    return all;
}

QPDFObjectHandle ContentResources::named(const char* category, std::string_view name) {
    if (!dictionary_.isDictionary()) {
        return QPDFObjectHandle::newNull();
    }
    auto entries = dictionary_.getKey(category);
    return entries.isDictionary() ? entries.getKey(keyOf(name)) : QPDFObjectHandle::newNull();
}

FontUse ContentResources::use(QPDFObjectHandle font, IfNew ifNew) {
    if (!font.isDictionary()) {
        return {};
    }
    auto name = font.getKey("/BaseFont");
    const bool isTextLayer = name.isName() && name.getName().ends_with("OrvexGlyphless");
    return {cache_.font(font, ifNew), isTextLayer};
}

template <class Value, class LookUp>
const Value& ContentResources::known(ByName<Value>& names, std::string_view name, const LookUp& lookUp) {
    if (const auto at = names.find(name); at != names.end()) {
        return at->second;
    }
    if (names.size() >= mostNames) {
        static const Value nothing;
        return nothing;
    }
    const std::lock_guard lock(source_.mutex());
    return names.emplace(name, lookUp()).first->second;
}

const FontUse& ContentResources::font(std::string_view name, IfNew ifNew) {
    return known(fonts_, name, [&] { return use(named("/Font", name), ifNew); });
}

const std::optional<ContentResources::SizedFont>& ContentResources::graphicsStateFont(std::string_view name,
                                                                                      IfNew ifNew) {
    return known(graphicsStateFonts_, name, [&] { return fontOf(named("/ExtGState", name), ifNew); });
}

std::optional<ContentResources::SizedFont> ContentResources::fontOf(QPDFObjectHandle graphicsState, IfNew ifNew) {
    auto entry = graphicsState.isDictionary() ? graphicsState.getKey("/Font") : QPDFObjectHandle::newNull();
    double size = 0;
    if (!entry.isArray() || entry.getArrayNItems() < 2 || !readNumber(entry.getArrayItem(1), size)) {
        return std::nullopt;
    }
    return SizedFont{use(entry.getArrayItem(0), ifNew), size};
}

std::optional<FormUse> ContentResources::form(std::string_view name, std::size_t limit) {
    const std::lock_guard lock(source_.mutex());
    auto stream = named("/XObject", name);
    if (isImageInFile(source_, stream) || !stream.isStream()) {
        return std::nullopt;
    }
    auto dictionary = stream.getDict();
    if (!dictionary.getKey("/Subtype").isNameAndEquals("/Form")) {
        return std::nullopt;
    }
    FormUse use;
    use.hidden = cache_.isHidden(source_, dictionary.getKey("/OC"));
    if (use.hidden) {
        return use;
    }
    use.matrix = readMatrix(dictionary.getKey("/Matrix"));
    use.box = readRectangle(dictionary.getKey("/BBox"));
    use.resources = dictionary.getKey("/Resources");
    if (!use.resources.isDictionary()) {
        use.resources = dictionary_;
    }
    use.id = stream.getObjGen();
    use.streams = storedStreams(source_, stream, limit);
    return use;
}

namespace {

std::string textOf(const Operand& string, const ContentScanner& scanner) {
    std::string buffer;
    const auto bytes = scanner.bytesOf(string, buffer);
    return QPDFObjectHandle::newString(std::string(bytes)).getUTF8Value();
}

} // namespace

/// Only the entries of the dictionary itself count; what it nests is passed over.
MarkedContent ContentResources::inlineProperties(std::span<const Operand> operands, const ContentScanner& scanner) {
    MarkedContent result;
    int depth = 0;
    for (std::size_t i = 0; i + 1 < operands.size(); ++i) {
        const auto& key = operands[i];
        const auto& value = operands[i + 1];
        if (key.kind == OperandKind::dictionaryStart || key.kind == OperandKind::arrayStart) {
            ++depth;
        } else if (key.kind == OperandKind::dictionaryEnd || key.kind == OperandKind::arrayEnd) {
            --depth;
        } else if (depth == 1 && key.kind == OperandKind::name && value.isString()) {
            if (key.text == "ActualText") {
                result.actualText = std::make_shared<const std::string>(textOf(value, scanner));
            } else if (key.text == "Text") {
                result.foundText = textOf(value, scanner);
            }
        } else if (depth == 1 && key.text == "Box" && value.kind == OperandKind::arrayStart &&
                   i + 5 < operands.size()) {
            result.foundBox = {operands[i + 2].number, operands[i + 3].number, operands[i + 4].number,
                               operands[i + 5].number};
        }
    }
    return result;
}

MarkedContent ContentResources::markedContent(std::span<const Operand> operands, const ContentScanner& scanner) {
    if (operands.size() < 2) {
        return {};
    }
    if (operands[1].kind == OperandKind::dictionaryStart) {
        auto content = inlineProperties(operands.subspan(1), scanner);
        if (operands[0].text != "OrvexFound") {
            content.foundText.reset();
        }
        return content;
    }
    if (operands[1].kind != OperandKind::name) {
        return {};
    }
    const auto name = operands[1].text;
    MarkedContent content = known(properties_, name, [&] { return contentOf(named("/Properties", name)); });
    content.hidden = content.hidden && operands[0].text == "OC";
    return content;
}

/// Hidden is what a layer is, whoever names it.
MarkedContent ContentResources::contentOf(QPDFObjectHandle properties) {
    MarkedContent content;
    if (properties.isDictionary()) {
        content.hidden = cache_.isHidden(source_, properties);
        if (auto text = properties.getKey("/ActualText"); text.isString()) {
            content.actualText = std::make_shared<const std::string>(text.getUTF8Value());
        }
    }
    return content;
}

} // namespace orvex
