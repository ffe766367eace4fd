#include "Platform/PDF/Writing/FileWriter_p.h"

#include "Platform/PDF/Saving/Vectors_p.h"
#include "Platform/PDF/Writing/OutputPipeline_p.h"
#include "Platform/PDF/Writing/PlainWriter_p.h"
#include "Platform/PDF/Writing/RawStreams_p.h"

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

/// Object streams are worth nothing uncompressed; otherwise every stream keeps its bytes.
bool compressesStreams(QPDF& pdf, StreamPacking packing) {
    const bool usesObjectStreams = pdf.getTrailer().getKey("/Type").isNameAndEquals("/XRef");
    return packing == StreamPacking::compact || usesObjectStreams;
}

void setUp(QPDFWriter& writer, QPDF& pdf, StreamPacking packing, Protection protection) {
    writer.setStaticID(true);
    writer.setPreserveEncryption(protection == Protection::asLoaded);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setObjectStreamMode(packing == StreamPacking::compact ? qpdf_o_generate : qpdf_o_preserve);
    writer.setCompressStreams(compressesStreams(pdf, packing));
    writer.setMinimumPDFVersion("1.5");
}

/// Returns a digest of the file.
std::string writeOnce(QPDF& pdf, StreamPacking packing, Protection protection, FileOutput& output) {
    WriterPipeline pipeline(output);
    QPDFWriter writer(pdf);
    writer.setOutputPipeline(&pipeline);
    setUp(writer, pdf, packing, protection);
    writer.write();
    pipeline.rethrowFailure();
    return output.id();
}

/// Some files have both kinds of cross-reference, and are written with a stream if they have objects in streams.
bool hasObjectStreams(QPDF& pdf) {
    constexpr int inStream = 2;
    const auto table = pdf.getXRefTable();
    return std::ranges::any_of(table, [](const auto& entry) { return entry.second.getType() == inStream; });
}

/// Keeps nothing.
class Nowhere final : public ByteSink {
public:
    void write(std::span<const std::uint8_t> /*bytes*/) override {}
};

void write(QPDF& pdf, const FileForm& form, FileOutput& output) {
    const auto [loaded, packing, protection, kept] = form;
    if (kept != nullptr || (!compressesStreams(pdf, packing) && !pdf.isEncrypted() && !hasObjectStreams(pdf))) {
        PlainWriter(pdf, loaded, kept, output).write();
        return;
    }
    readStreamsInPlace(pdf, loaded, compressesStreams(pdf, packing));
    if (protection == Protection::none) {
        writeOnce(pdf, packing, protection, output);
        return;
    }
    // The vectors follow from the whole document and its key: a first pass finds out what the document is.
    const std::string key = pdf.getEncryptionKey();
    std::string seed;
    {
        const DerivedVectors fixed("pass" + key);
        Nowhere nowhere;
        FileOutput firstPass(nowhere);
        seed = writeOnce(pdf, packing, protection, firstPass);
    }
    const DerivedVectors vectors(seed + key);
    writeOnce(pdf, packing, protection, output);
}

} // namespace

bool isWrittenPlainly(QPDF& pdf, const ObjectTable& table) {
    return !compressesStreams(pdf, StreamPacking::keep) && !pdf.isEncrypted() && !table.hasPacked();
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
