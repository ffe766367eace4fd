#include "Platform/PDF/Writing/FileWriter_p.h"

#include "Platform/PDF/Saving/Vectors_p.h"
#include "Platform/PDF/Writing/OutputPipeline_p.h"

#include <qpdf/QPDFWriter.hh>

#include <algorithm>
#include <string>
#include <string_view>

namespace orvex {

namespace {

/// The id that the writer puts in when it is told to use a fixed one; it arrives in a write of its own, after all
/// objects, and is replaced by the digest of what went before.
constexpr std::string_view fixedId = "<31415926535897932384626433832795>";

class WriterPipeline final : public OutputPipeline {
public:
    using OutputPipeline::OutputPipeline;

protected:
    void write(std::string_view text) override {
        if (text == fixedId) {
            output().write(output().id());
        } else {
            output().write(text);
        }
    }
};

bool hasCrossReferenceStream(QPDF& pdf) {
    return pdf.getTrailer().getKey("/Type").isNameAndEquals("/XRef");
}

void setUp(QPDFWriter& writer, QPDF& pdf, Protection protection) {
    writer.setStaticID(true);
    writer.setPreserveEncryption(protection == Protection::asLoaded);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setObjectStreamMode(qpdf_o_preserve);
    writer.setCompressStreams(hasCrossReferenceStream(pdf)); // object streams are worth nothing uncompressed
    writer.setMinimumPDFVersion("1.5");
}

/// Returns a digest of the file.
std::string writeOnce(QPDF& pdf, Protection protection, FileOutput& output) {
    WriterPipeline pipeline(output);
    QPDFWriter writer(pdf);
    writer.setOutputPipeline(&pipeline);
    setUp(writer, pdf, protection);
    writer.write();
    pipeline.rethrowFailure();
    return output.id();
}

/// Keeps nothing.
class Nowhere final : public ByteSink {
public:
    void write(std::span<const std::uint8_t> /*bytes*/) override {}
};

/// qpdf knows how.
void writeEncrypted(QPDF& pdf, Protection protection, FileOutput& output) {
    if (protection == Protection::none) {
        writeOnce(pdf, protection, output);
        return;
    }
    // The vectors follow from the whole document and its key: a first pass finds out what the document is.
    const std::string key = pdf.getEncryptionKey();
    std::string seed;
    {
        const DerivedVectors fixed("pass" + key);
        Nowhere nowhere;
        FileOutput firstPass(nowhere);
        seed = writeOnce(pdf, protection, firstPass);
    }
    const DerivedVectors vectors(seed + key);
    writeOnce(pdf, protection, output);
}

void write(QPDF& pdf, const FileForm& form, FileOutput& output) {
    if (pdf.isEncrypted()) {
        writeEncrypted(pdf, form.protection, output);
        return;
    }
    DocumentWriter(pdf, form.loaded, form.kept, form.layout, output).write();
}

} // namespace

/// Some files have both kinds of cross-reference.
Layout layoutOf(QPDF& pdf, const ObjectTable* table) {
    constexpr int inStream = 2;
    const auto isPacked = [](const auto& entry) { return entry.second.getType() == inStream; };
    const bool hasPacked = table != nullptr ? table->hasPacked() : std::ranges::any_of(pdf.getXRefTable(), isPacked);
    return hasPacked || hasCrossReferenceStream(pdf) ? Layout::packed : Layout::plain;
}

void writeFile(QPDF& pdf, const FileForm& form, ByteSink& sink) {
    FileOutput output(sink);
    write(pdf, form, output);
}

std::size_t measureFile(QPDF& pdf, const FileForm& form) {
    FileOutput output;
    write(pdf, form, output);
    return output.position();
}

} // namespace orvex
