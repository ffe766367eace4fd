#include "Platform/PDF/Writing/DocumentWriter_p.h"

#include "Platform/PDF/PDFDocument.h"
#include "Platform/PDF/Writing/OutputPipeline_p.h"
#include "Platform/PDF/Writing/RawStreams_p.h"

#include <qpdf/PDFVersion.hh>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace orvex {

namespace {

constexpr int compression = 6;

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

DocumentWriter::DocumentWriter(QPDF& pdf, const Bytes& loaded, KeptObjects* kept, Layout layout, FileOutput& output)
    : pdf_(pdf), loaded_(loaded), kept_(kept), output_(output) {
    if (layout == Layout::packed) {
        deflater_.emplace(compression);
    }
}

void DocumentWriter::write() {
    writeHeader();
    const std::string entries = trailerEntries();
    for (std::size_t number = 1; number <= numbers_.count(); ++number) {
        writeObject(number);
    }
    if (deflater_) {
        writeCrossReferences(entries);
    } else {
        writeTable(entries);
    }
    output_.flush();
}

void DocumentWriter::writeHeader() {
    PDFVersion version(1, 5);
    version.updateIfGreater(versionOf(pdf_));
    std::string number;
    int extensionLevel = 0;
    version.getVersion(number, extensionLevel);
    output_.write("%PDF-" + number + "\n%\xBF\xF7\xA2\xFE\n");
}

/// The catalogue becomes the first object.
std::string DocumentWriter::trailerEntries() {
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

void DocumentWriter::writeObject(std::size_t number) {
    const auto id = numbers_.object(number);
    text_.clear();
    if (isKept(id)) {
        writeKept(number, id);
    } else if (id.isIndirect()) {
        auto object = pdf_.getObject(id);
        if (object.isStream()) {
            writeStream(number, object);
        } else {
            appendDirect(text_, object);
            putObject(number);
        }
    }
}

void DocumentWriter::putObject(std::size_t number) {
    if (!deflater_) {
        begin(number);
        output_.write(text_);
        output_.write("\nendobj\n");
        return;
    }
    if (packed_.count() == 0) {
        packedNumber_ = numbers_.reserve();
    }
    places_.setPacked(number, packedNumber_, packed_.count());
    packed_.add(number, text_);
    if (packed_.isFull()) {
        putPacked();
    }
}

void DocumentWriter::putStream(std::size_t number, std::string_view data) {
    begin(number);
    output_.write(text_ += " /Length " + std::to_string(data.size()) + " >>\nstream\n");
    output_.write(data);
    output_.write("\nendstream\nendobj\n");
}

void DocumentWriter::begin(std::size_t number) {
    places_.setLoose(number, output_.position());
    output_.write(std::to_string(number) + " 0 obj\n");
}

void DocumentWriter::putPacked() {
    text_ = "<<" + packed_.entries();
    putStream(packedNumber_, deflater_->deflate(packed_.data()));
    packed_ = {};
}

void DocumentWriter::writeKept(std::size_t number, QPDFObjGen id) {
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
        text_ += " >>";
        putObject(number);
    } else {
        putStream(number, data);
    }
}

void DocumentWriter::keepStreams(std::string_view contents) {
    TextScanner scanner(contents);
    while (const auto reference = scanner.nextReference()) {
        if (const auto id = referenceOf(&*reference); id && numbers_.of(*id) == 0) {
            kept_->keepStream(*id);
        }
    }
}

/// What the page lacks of itself.
void DocumentWriter::appendInherited(std::string& text, QPDFObjGen page) {
    const auto& attributes = kept_->inherited(page);
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const auto* own = findEntry(stored_.entries, inheritableKeys[i]);
        if (attributes[i].isInitialized() && (own == nullptr || own->text == "null")) {
            appendValue(text.append(" ").append(inheritableKeys[i]).append(" "), attributes[i]);
        }
    }
}

void DocumentWriter::appendText(std::string& text, std::string_view value) {
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

void DocumentWriter::writeStream(std::size_t number, QPDFObjectHandle stream) {
    text_ += "<<";
    appendEntries(text_, stream.getDict(), "/Length");
    if (const auto stored = storedData(stream, loaded_); !stored.empty()) {
        putStream(number, stored);
        return;
    }
    FileOutput length;
    pipe(stream, length);
    begin(number);
    output_.write(text_ += " /Length " + std::to_string(length.position()) + " >>\nstream\n");
    const std::size_t start = output_.position();
    pipe(stream, output_);
    if (output_.position() - start != length.position()) {
        throw PDFWriteError("cannot write the document: a stream came in another length than before");
    }
    output_.write("\nendstream\nendobj\n");
}

void DocumentWriter::writeTable(const std::string& entries) {
    const std::size_t start = output_.position();
    places_.writeTable(output_);
    output_.write("trailer\n<<" + entries + " /Size " + std::to_string(places_.size()) + ids() + " >>\n");
    writeEnd(start);
}

void DocumentWriter::writeCrossReferences(const std::string& entries) {
    if (packed_.count() > 0) {
        putPacked();
    }
    const std::size_t start = output_.position();
    const std::size_t number = numbers_.reserve();
    places_.setLoose(number, start);
    text_ = "<<" + places_.streamEntries() + entries + ids();
    putStream(number, deflater_->deflate(places_.streamData()));
    writeEnd(start);
}

void DocumentWriter::writeEnd(std::size_t crossReferences) {
    output_.write("startxref\n" + std::to_string(crossReferences) + "\n%%EOF\n");
}

std::string DocumentWriter::ids() {
    const std::string id = output_.id();
    return " /ID [" + firstID().value_or(id) + id + "]";
}

/// What the file was called when it was first written.
std::optional<std::string> DocumentWriter::firstID() {
    auto ids = pdf_.getTrailer().getKey("/ID");
    const bool known = ids.isArray() && ids.getArrayNItems() > 0 && ids.getArrayItem(0).isString();
    return known ? std::optional(ids.getArrayItem(0).unparseBinary()) : std::nullopt;
}

void DocumentWriter::appendValue(std::string& text, const QPDFObjectHandle& value) {
    if (value.isIndirect()) {
        appendReference(text, value);
    } else {
        appendDirect(text, value);
    }
}

void DocumentWriter::appendDirect(std::string& text, QPDFObjectHandle value) {
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

void DocumentWriter::appendEntries(std::string& text, QPDFObjectHandle dictionary, std::string_view without) {
    for (const auto& [key, value] : dictionary.getDictAsMap()) {
        if (key != without && !holdsNothing(value)) {
            appendName(text += ' ', key);
            appendValue(text += ' ', value);
        }
    }
}

void DocumentWriter::appendReference(std::string& text, const QPDFObjectHandle& object) {
    if (object.getOwningQPDF() != &pdf_) {
        throw std::logic_error("an object of another document");
    }
    appendReference(text, object.getObjGen());
}

void DocumentWriter::appendReference(std::string& text, QPDFObjGen id) {
    auto number = numbers_.of(id);
    if (number == 0 && !isKept(id) && pdf_.getObject(id).isNull()) {
        text += "null";
        return;
    }
    number = number == 0 ? numbers_.add(id) : number;
    text.append(std::to_string(number)).append(" 0 R");
}

/// References that lead nowhere hold nothing. What has a number, or is kept, is not looked into.
bool DocumentWriter::holdsNothing(QPDFObjectHandle value) const {
    const auto id = value.getObjGen();
    return !(value.isIndirect() && (numbers_.of(id) != 0 || isKept(id))) && value.isNull();
}

} // namespace orvex
