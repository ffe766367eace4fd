#include "Platform/PDF/Saving/Metadata_p.h"

#include <qpdf/Buffer.hh>
#include <qpdf/QPDFExc.hh>

#include <algorithm>
#include <optional>
#include <string_view>

namespace orvex {

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr int mostReplaced = 100; // of one property; more are no packet but an attempt
constexpr std::size_t longestPrefix = 100;

struct Property {
    std::string space; ///< the namespace's name
    std::string prefix;
    std::string name;
    std::string before; ///< what stands around the text
    std::string after;
};

Property propertyOf(PDFInfoKey key) {
    switch (key) {
    case PDFInfoKey::title:
        return {"http://purl.org/dc/elements/1.1/", "dc", "title", "<rdf:Alt><rdf:li xml:lang=\"x-default\">",
                "</rdf:li></rdf:Alt>"};
    case PDFInfoKey::author:
        return {"http://purl.org/dc/elements/1.1/", "dc", "creator", "<rdf:Seq><rdf:li>", "</rdf:li></rdf:Seq>"};
    case PDFInfoKey::creator:
        return {"http://ns.adobe.com/xap/1.0/", "xmp", "CreatorTool", {}, {}};
    case PDFInfoKey::producer:
        break;
    }
    return {"http://ns.adobe.com/pdf/1.3/", "pdf", "Producer", {}, {}};
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            // What XML cannot hold even escaped is left out.
            if (static_cast<unsigned char>(c) >= 0x20 || blanks.find(c) != std::string_view::npos) {
                result += c;
            }
        }
    }
    return result;
}

/// The prefix that the packet gives a namespace.
std::optional<std::string> prefixOf(const std::string& packet, const std::string& space) {
    for (std::size_t at = packet.find(space); at != std::string::npos; at = packet.find(space, at + 1)) {
        const std::size_t equals = at >= 2 ? packet.find_last_not_of(blanks, at - 2) : std::string::npos;
        const bool quoted = at >= 2 && (packet[at - 1] == '"' || packet[at - 1] == '\'');
        if (!quoted || equals == std::string::npos || packet[equals] != '=' || equals == 0) {
            continue;
        }
        const std::size_t end = packet.find_last_not_of(blanks, equals - 1) + 1;
        const std::size_t start = end - std::min(end, longestPrefix);
        const auto before = std::string_view(packet).substr(start, end - start);
        const std::size_t colon = before.rfind("xmlns:");
        if (colon != std::string::npos && before.find_first_of(" \t\r\n<>=\"'", colon) == std::string::npos) {
            return std::string(before.substr(colon + 6));
        }
    }
    return std::nullopt;
}

/// Replaces the content of the elements of this name; whether there are any.
bool replaceElements(std::string& packet, const std::string& name, const std::string& content) {
    int replaced = 0;
    const std::string opening = "<" + name;
    const std::string closingTag = "</" + name;
    const std::string replacement = opening + ">" + content + closingTag + ">";
    for (std::size_t at = packet.find(opening); at != std::string::npos; at = packet.find(opening, at + 1)) {
        const std::size_t nameEnd = at + 1 + name.size();
        const std::size_t close = packet.find('>', nameEnd);
        if (close == std::string::npos || replaced > mostReplaced) {
            break;
        }
        if (packet[nameEnd] != '>' && packet[nameEnd] != '/' &&
            blanks.find(packet[nameEnd]) == std::string_view::npos) {
            continue;
        }
        std::size_t end = close + 1;
        if (packet[close - 1] != '/') {
            const std::size_t closing = packet.find(closingTag, close);
            end = closing == std::string::npos ? closing : packet.find('>', closing);
            if (end == std::string::npos) {
                break;
            }
            ++end;
        }
        packet.replace(at, end - at, replacement);
        ++replaced;
    }
    return replaced > 0;
}

/// The same for properties that are written as attributes.
bool replaceAttributes(std::string& packet, const std::string& name, const std::string& content) {
    int replaced = 0;
    const std::string quotedContent = "\"" + content + "\"";
    for (std::size_t at = packet.find(name); at != std::string::npos; at = packet.find(name, at + 1)) {
        const std::size_t equals = packet.find_first_not_of(blanks, at + name.size());
        const bool isAttribute = at > 0 && blanks.find(packet[at - 1]) != std::string_view::npos &&
                                 equals != std::string::npos && packet[equals] == '=';
        const std::size_t open = isAttribute ? packet.find_first_not_of(blanks, equals + 1) : std::string::npos;
        if (open == std::string::npos || (packet[open] != '"' && packet[open] != '\'')) {
            continue;
        }
        const std::size_t close = packet.find(packet[open], open + 1);
        if (close == std::string::npos || replaced > mostReplaced) {
            break;
        }
        packet.replace(open, close + 1 - open, quotedContent);
        ++replaced;
    }
    return replaced > 0;
}

/// Adds a property in a description of its own, about what the first one is about.
void addProperty(std::string& packet, const Property& property, const std::string& content) {
    const std::size_t end = packet.rfind("</rdf:RDF");
    if (end == std::string::npos) {
        return;
    }
    std::string about = "rdf:about=\"\"";
    if (const std::size_t at = packet.find("rdf:about="); at != std::string::npos && at + 10 < packet.size()) {
        const std::size_t close = packet.find(packet[at + 10], at + 11);
        about = close == std::string::npos ? about : packet.substr(at, close + 1 - at);
    }
    const std::string name = property.prefix + ":" + property.name;
    packet.insert(end, "<rdf:Description " + about + " xmlns:" + property.prefix + "=\"" + property.space + "\"><" +
                           name + ">" + content + "</" + name + "></rdf:Description>\n");
}

} // namespace

std::string stampedPacket(std::string packet, const std::map<PDFInfoKey, std::string>& info) {
    for (const auto& [key, text] : info) {
        const Property property = propertyOf(key);
        const std::string content = property.before + escaped(text) + property.after;
        const auto prefix = prefixOf(packet, property.space);
        const std::string name = prefix.value_or(property.prefix) + ":" + property.name;
        bool found = prefix && replaceElements(packet, name, content);
        if (prefix && property.before.empty()) {
            found = replaceAttributes(packet, name, content) || found;
        }
        if (!found) {
            addProperty(packet, property, content);
        }
    }
    return packet;
}

void stampMetadata(QPDF& target, const std::map<PDFInfoKey, std::string>& info) {
    auto metadata = target.getRoot().getKey("/Metadata");
    if (info.empty() || !metadata.isStream()) {
        return;
    }
    std::string packet;
    try {
        const auto data = metadata.getStreamData(qpdf_dl_generalized);
        packet.assign(reinterpret_cast<const char*>(data->getBuffer()), data->getSize());
    } catch (const QPDFExc&) { // nothing that could be read by anybody
        return;
    }
    const std::string stamped = stampedPacket(packet, info);
    if (stamped != packet) {
        metadata.replaceStreamData(stamped, QPDFObjectHandle::newNull(), QPDFObjectHandle::newNull());
        metadata.setFilterOnWrite(false);
    }
}

} // namespace orvex
