#include "Platform/PDF/FileWriter_p.h"

#include "Platform/PDF/Digest_p.h"
#include "Platform/PDF/RawStreams_p.h"
#include "Platform/PDF/Saving/Vectors_p.h"

#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFWriter.hh>

#include <exception>
#include <string_view>
#include <vector>

namespace orvex {

namespace {

/// The id that the writer puts in when it is told to use a fixed one; it arrives in a write of its own, after all
/// objects, and is replaced by the digest of what went before.
constexpr std::string_view fixedId = "<31415926535897932384626433832795>";

class SinkPipeline final : public Pipeline {
public:
    explicit SinkPipeline(ByteSink& sink) : Pipeline("sink", nullptr), sink_(sink) { buffer_.reserve(capacity); }

    void write(const unsigned char* data, std::size_t length) override {
        const std::string_view text(reinterpret_cast<const char*>(data), length);
        if (text == fixedId) {
            flush();
            const std::string id = "<" + digest_.hex() + ">";
            pass({reinterpret_cast<const std::uint8_t*>(id.data()), id.size()});
        } else {
            pass({data, length});
        }
    }

    void finish() override { flush(); }

    /// Of everything written.
    [[nodiscard]] std::string digest() const { return digest_.hex(); }

    /// What the sink threw. The writer calls pipelines from destructors too, where nothing may be thrown: bytes that
    /// come after a failure are dropped, and the failure waits here.
    void rethrowFailure() const {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

private:
    static constexpr std::size_t capacity = 256 * 1024;

    void pass(std::span<const std::uint8_t> bytes) {
        if (buffer_.size() + bytes.size() > capacity) {
            flush();
        }
        if (bytes.size() >= capacity) {
            emit(bytes);
        } else {
            buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
        }
    }

    void flush() {
        emit(buffer_);
        buffer_.clear();
    }

    void emit(std::span<const std::uint8_t> bytes) {
        if (failure_) {
            return;
        }
        try {
            digest_.add(bytes);
            sink_.write(bytes);
        } catch (...) {
            failure_ = std::current_exception();
        }
    }

    ByteSink& sink_;
    std::exception_ptr failure_;
    std::vector<std::uint8_t> buffer_;
    RunningDigest digest_;
};

/// Object streams are worth nothing uncompressed; otherwise every stream keeps its bytes.
bool compressesStreams(QPDF& pdf, StreamPacking packing) {
    const bool usesObjectStreams = pdf.getTrailer().getKey("/Type").isNameAndEquals("/XRef");
    return packing == StreamPacking::compact || usesObjectStreams;
}

/// Returns the digest of the file.
std::string writeOnce(QPDF& pdf, StreamPacking packing, Protection protection, ByteSink& sink) {
    SinkPipeline pipeline(sink);
    QPDFWriter writer(pdf);
    writer.setOutputPipeline(&pipeline);
    writer.setStaticID(true);
    writer.setPreserveEncryption(protection == Protection::asLoaded);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setObjectStreamMode(packing == StreamPacking::compact ? qpdf_o_generate : qpdf_o_preserve);
    writer.setCompressStreams(compressesStreams(pdf, packing));
    writer.setMinimumPDFVersion("1.5");
    writer.write();
    pipeline.rethrowFailure();
    return pipeline.digest();
}

class NoSink final : public ByteSink {
public:
    void write(std::span<const std::uint8_t> /*bytes*/) override {}
};

} // namespace

void writeFile(QPDF& pdf, const Bytes& loaded, StreamPacking packing, Protection protection, ByteSink& sink) {
    readStreamsInPlace(pdf, loaded, compressesStreams(pdf, packing));
    if (protection == Protection::none) {
        writeOnce(pdf, packing, protection, sink);
        return;
    }
    // The vectors follow from the whole document and its key: a first pass finds out what the document is.
    const std::string key = pdf.getEncryptionKey();
    std::string seed;
    {
        const DerivedVectors fixed("pass" + key);
        NoSink nowhere;
        seed = writeOnce(pdf, packing, protection, nowhere);
    }
    const DerivedVectors vectors(seed + key);
    writeOnce(pdf, packing, protection, sink);
}

} // namespace orvex
