#include "Platform/PDF/Writing/PlainWriter_p.h"

#include "Platform/PDF/PDFDocument.h"
#include "Platform/PDF/Writing/OutputPipeline_p.h"
#include "Platform/PDF/Writing/RawStreams_p.h"

#include <qpdf/PDFVersion.hh>

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>

namespace orvex {

namespace {

constexpr std::size_t rowLength = 20;           // of the cross-reference table
constexpr std::size_t farthest = 9'999'999'999; // ten digits

/// They tell how the loaded file was written.
bool belongsToLoadedFile(std::string_view key) {
    constexpr std::array keys{"/ID", "/Encrypt", "/Prev",        "/XRefStm", "/Size",  "/Index",
                              "/W",  "/Length",  "/DecodeParms", "/Type",    "/Filter"};
    return std::ranges::find(keys, key) != keys.end();
}

bool isPlainInName(char c) {
    constexpr std::string_view special = "#()<>[]{}/%";
    return c > ' ' && c < '\x7F' && special.find(c) == std::string_view::npos;
}

/// A zero is what qpdf makes of a # that no digits follow. It would write both that and a true # without digits, and
/// then could not read them.
void appendName(std::string& text, std::string_view name) {
    constexpr std::string_view digits = "0123456789abcdef";
    text += '/';
    for (const char c : name.substr(std::min<std::size_t>(name.size(), 1))) {
        if (isPlainInName(c)) {
            text += c;
        } else {
            const auto code = static_cast<unsigned char>(c == '\0' ? '#' : c);
            (text += '#').append({digits[code / 16], digits[code % 16]});
        }
    }
}

/// qpdf gives up on a file whose header has too many digits.
PDFVersion versionOf(QPDF& pdf) {
    try {
        return pdf.getVersionAsPDFVersion();
    } catch (const std::range_error&) {
        return PDFVersion(1, 7);
    }
}

/// The data as the file is to hold them, without their being kept.
void pipe(QPDFObjectHandle stream, FileOutput& output) {
    OutputPipeline pipeline(output);
    stream.pipeStreamData(&pipeline, 0, qpdf_dl_none);
    pipeline.rethrowFailure();
}

} // namespace

void PlainWriter::write() {
    writeHeader();
    const std::string entries = trailerEntries();
    for (std::size_t number = 1; number <= numbers_.count(); ++number) {
        writeObject(number);
    }
    writeEnd(entries);
    output_.flush();
}

void PlainWriter::writeHeader() {
    PDFVersion version(1, 5);
    version.updateIfGreater(versionOf(pdf_));
    std::string number;
    int extensionLevel = 0;
    version.getVersion(number, extensionLevel);
    output_.write("%PDF-" + number + "\n%\xBF\xF7\xA2\xFE\n");
}

/// The catalogue becomes the first object.
std::string PlainWriter::trailerEntries() {
    std::string entries = " /Root ";
    auto trailer = pdf_.getTrailer();
    appendValue(entries, trailer.getKey("/Root"));
    for (const auto& [key, value] : trailer.getDictAsMap()) {
        if (key != "/Root" && !belongsToLoadedFile(key) && !holdsNothing(value)) {
            appendName(entries += ' ', key);
            appendValue(entries += ' ', value);
        }
    }
    return entries;
}

void PlainWriter::writeObject(std::size_t number) {
    places_.push_back(output_.position());
    text_ = std::to_string(number) + " 0 obj\n";
    const auto id = numbers_.object(number);
    if (isKept(id)) {
        writeKept(id);
    } else if (auto object = pdf_.getObject(id); object.isStream()) {
        writeStream(object);
    } else {
        appendDirect(text_, object);
        output_.write(text_);
    }
    output_.write("\nendobj\n");
}

void PlainWriter::writeKept(QPDFObjGen id) {
    const auto data = kept_->read(id, stored_);
    const bool isPage = data.empty();
    const bool movesUp = isPage && !kept_->parent().isNull();
    text_ += "<<";
    for (const auto& [key, value] : stored_.entries) {
        if (key == "/Length" || (movesUp && key == "/Parent") || value.text == "null") {
            continue;
        }
        if (isPage && key == "/Contents") {
            keepStreams(value.text);
        }
        appendText(text_.append(" ").append(key).append(" "), value.text);
    }
    if (movesUp) {
        appendInherited(text_, id);
        appendReference(text_ += " /Parent ", kept_->parent());
    }
    if (isPage) {
        output_.write(text_ += " >>");
        return;
    }
    text_ += " /Length " + std::to_string(data.size()) + " >>\nstream\n";
    output_.write(text_);
    output_.write(data);
    output_.write("\nendstream");
}

void PlainWriter::keepStreams(std::string_view contents) {
    TextScanner scanner(contents);
    while (const auto reference = scanner.nextReference()) {
        if (const auto id = referenceOf(&*reference); id && numbers_.of(*id) == 0) {
            kept_->keepStream(*id);
        }
    }
}

/// What the page lacks of itself.
void PlainWriter::appendInherited(std::string& text, QPDFObjGen page) {
    const auto& attributes = kept_->inherited(page);
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const auto* own = findEntry(stored_.entries, inheritableKeys[i]);
        if (attributes[i].isInitialized() && (own == nullptr || own->text == "null")) {
            appendValue(text.append(" ").append(inheritableKeys[i]).append(" "), attributes[i]);
        }
    }
}

void PlainWriter::appendText(std::string& text, std::string_view value) {
    TextScanner scanner(value);
    const char* done = value.data();
    while (const auto reference = scanner.nextReference()) {
        text.append(done, reference->text.data());
        const auto id = referenceOf(&*reference);
        appendReference(text, id.value_or(QPDFObjGen()));
        done = scanner.position();
    }
    if (!scanner.rest().empty()) {
        throw std::logic_error("a kept object is not plain");
    }
    text.append(done, value.data() + value.size());
}

void PlainWriter::writeStream(QPDFObjectHandle stream) {
    auto dictionary = stream.getDict();
    text_ += "<<";
    appendEntries(text_, dictionary, "/Length");
    const auto stored = storedData(stream, loaded_);
    FileOutput length;
    if (stored.empty()) {
        pipe(stream, length);
    }
    const std::size_t size = stored.empty() ? length.position() : stored.size();
    text_ += " /Length " + std::to_string(size) + " >>\nstream\n";
    output_.write(text_);
    const std::size_t start = output_.position();
    if (stored.empty()) {
        pipe(stream, output_);
    } else {
        output_.write(stored);
    }
    if (output_.position() - start != size) {
        throw PDFWriteError("cannot write the document: a stream came in another length than before");
    }
    output_.write("\nendstream");
}

void PlainWriter::writeEnd(const std::string& entries) {
    const std::size_t table = output_.position();
    output_.write("xref\n0 " + std::to_string(places_.size() + 1) + "\n0000000000 65535 f \n");
    for (const auto place : places_) {
        if (place > farthest) {
            throw PDFWriteError("cannot write the document: it would be larger than 10 GB");
        }
        std::array<char, rowLength + 1> row{};
        std::snprintf(row.data(), row.size(), "%010zu 00000 n \n", place);
        output_.write({row.data(), rowLength});
    }
    output_.write("trailer\n<<" + entries + " /Size " + std::to_string(places_.size() + 1) + " /ID [");
    const std::string id = output_.id();
    output_.write(firstID().value_or(id) + id + "] >>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n");
}

/// What the file was called when it was first written.
std::optional<std::string> PlainWriter::firstID() {
    auto ids = pdf_.getTrailer().getKey("/ID");
    const bool known = ids.isArray() && ids.getArrayNItems() > 0 && ids.getArrayItem(0).isString();
    return known ? std::optional(ids.getArrayItem(0).unparseBinary()) : std::nullopt;
}

void PlainWriter::appendValue(std::string& text, const QPDFObjectHandle& value) {
    if (value.isIndirect()) {
        appendReference(text, value);
    } else {
        appendDirect(text, value);
    }
}

void PlainWriter::appendDirect(std::string& text, QPDFObjectHandle value) {
    if (value.isDictionary()) {
        text += "<<";
        appendEntries(text, value, {});
        text += " >>";
    } else if (value.isArray()) {
        text += '[';
        const int count = value.getArrayNItems();
        for (int i = 0; i < count; ++i) {
            appendValue(text += ' ', value.getArrayItem(i));
        }
        text += " ]";
    } else if (value.isName()) {
        appendName(text, value.getName());
    } else {
        text += value.unparseResolved();
    }
}

void PlainWriter::appendEntries(std::string& text, QPDFObjectHandle dictionary, std::string_view without) {
    for (const auto& [key, value] : dictionary.getDictAsMap()) {
        if (key != without && !holdsNothing(value)) {
            appendName(text += ' ', key);
            appendValue(text += ' ', value);
        }
    }
}

void PlainWriter::appendReference(std::string& text, const QPDFObjectHandle& object) {
    if (object.getOwningQPDF() != &pdf_) {
        throw std::logic_error("an object of another document");
    }
    appendReference(text, object.getObjGen());
}

void PlainWriter::appendReference(std::string& text, QPDFObjGen id) {
    auto number = numbers_.of(id);
    if (number == 0 && !isKept(id) && pdf_.getObject(id).isNull()) {
        text += "null";
        return;
    }
    number = number == 0 ? numbers_.add(id) : number;
    text.append(std::to_string(number)).append(" 0 R");
}

/// References that lead nowhere hold nothing. What has a number, or is kept, is not looked into.
bool PlainWriter::holdsNothing(QPDFObjectHandle value) const {
    const auto id = value.getObjGen();
    return !(value.isIndirect() && (numbers_.of(id) != 0 || isKept(id))) && value.isNull();
}

} // namespace orvex
