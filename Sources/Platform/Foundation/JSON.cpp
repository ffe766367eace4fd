#include "Platform/Foundation/JSON.h"
#include "Platform/Foundation/Strings.h"

#include <array>

namespace orvex {

namespace {

struct StepDescription {
    std::string operator()(const std::string& key) const {
        return "CodingKeys(stringValue: " + inQuotes(key) + ", intValue: nil)";
    }
    std::string operator()(std::size_t index) const {
        const auto number = std::to_string(index);
        return "_CodingKey(stringValue: \"Index " + number + "\", intValue: " + number + ")";
    }
};

std::string describePath(const JSONPath& path) {
    std::string text = "[";
    for (const auto& step : path) {
        text += text.size() > 1 ? ", " : "";
        text += std::visit(StepDescription(), step);
    }
    return text + "]";
}

struct CaseText {
    std::string_view name;
    std::string_view context;
};

CaseText caseText(JSONErrorKind kind) {
    constexpr std::array<CaseText, 5> texts = {{{"typeMismatch", "Swift.DecodingError.Context"},
                                                {"keyNotFound", "Swift.DecodingError.Context"},
                                                {"valueNotFound", "Swift.DecodingError.Context"},
                                                {"dataCorrupted", "Swift.DecodingError.Context"},
                                                {"invalidValue", "Swift.EncodingError.Context"}}};
    return texts.at(static_cast<std::size_t>(kind));
}

std::string describeSubject(JSONErrorKind kind, const std::string& subject) {
    if (kind == JSONErrorKind::dataCorrupted) {
        return {};
    }
    return (kind == JSONErrorKind::keyNotFound ? StepDescription()(subject) : subject) + ", ";
}

/// items[0].font.bold
std::string readablePath(const JSONPath& path) {
    std::string text;
    for (const auto& step : path) {
        if (const auto* index = std::get_if<std::size_t>(&step)) {
            text += "[" + std::to_string(*index) + "]";
        } else {
            text.append(text.empty() ? "" : ".").append(std::get<std::string>(step));
        }
    }
    return text;
}

std::string summarise(JSONErrorKind kind, const std::string& subject, const JSONPath& path, const std::string& detail,
                      const std::string& location) {
    const std::string where = path.empty() ? std::string() : readablePath(path) + ": ";
    if (kind == JSONErrorKind::keyNotFound) {
        return where + "missing key " + inQuotes(subject);
    }
    return where + (location.empty() ? detail : "Not valid JSON: " + location);
}

} // namespace

JSONError::JSONError(JSONErrorKind kind, const std::string& subject, JSONPath path, const std::string& detail,
                     const std::string& location)
    : kind_(kind), path_(std::move(path)), summary_(summarise(kind, subject, path_, detail, location)) {
    const CaseText text = caseText(kind);
    description_.append(text.name).append("(").append(describeSubject(kind, subject)).append(text.context);
    description_.append("(codingPath: ").append(describePath(path_)).append(", debugDescription: ");
    description_.append(inQuotes(detail)).append(", underlyingError: ");
    description_.append(location.empty() ? "nil" : "Optional(" + location + ")").append("))");
}

} // namespace orvex
