#include "Platform/PDF/FileWriter_p.h"

#include "Platform/PDF/Digest_p.h"
#include "Platform/PDF/RawStreams_p.h"
#include "Platform/PDF/Saving/Vectors_p.h"

#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFWriter.hh>

#include <algorithm>
#include <charconv>
#include <exception>
#include <string>
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

void setUp(QPDFWriter& writer, QPDF& pdf, StreamPacking packing, Protection protection) {
    writer.setStaticID(true);
    writer.setPreserveEncryption(protection == Protection::asLoaded);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setObjectStreamMode(packing == StreamPacking::compact ? qpdf_o_generate : qpdf_o_preserve);
    writer.setCompressStreams(compressesStreams(pdf, packing));
    writer.setMinimumPDFVersion("1.5");
}

/// Returns the digest of the file.
std::string writeOnce(QPDF& pdf, StreamPacking packing, Protection protection, ByteSink& sink) {
    SinkPipeline pipeline(sink);
    QPDFWriter writer(pdf);
    writer.setOutputPipeline(&pipeline);
    setUp(writer, pdf, packing, protection);
    writer.write();
    pipeline.rethrowFailure();
    return pipeline.digest();
}

/// Some files have both kinds of cross-reference, and are written with a stream if they have objects in streams.
bool hasObjectStreams(QPDF& pdf) {
    constexpr int inStream = 2;
    const auto table = pdf.getXRefTable();
    return std::ranges::any_of(table, [](const auto& entry) { return entry.second.getType() == inStream; });
}

/// Counts what is written, and keeps the end of it.
class Measure final : public Pipeline {
public:
    Measure() : Pipeline("measure", nullptr) {}

    void write(const unsigned char* data, std::size_t length) override {
        count_ += length;
        const std::size_t kept = std::min(length, mostKept);
        end_.append(reinterpret_cast<const char*>(data) + length - kept, kept);
        if (end_.size() > 2 * mostKept) {
            end_.erase(0, end_.size() - mostKept);
        }
    }
    void finish() override {}

    [[nodiscard]] std::size_t count() const { return count_; }

    /// Where the file says that its cross-reference table is.
    [[nodiscard]] std::size_t tablePlace() const {
        constexpr std::string_view mark = "startxref\n";
        const std::size_t at = end_.rfind(mark);
        std::size_t place = 0;
        if (at != std::string::npos) {
            std::from_chars(end_.data() + at + mark.size(), end_.data() + end_.size(), place);
        }
        return place;
    }

private:
    static constexpr std::size_t mostKept = 64;
    std::size_t count_ = 0;
    std::string end_;
};

std::size_t digitsOf(std::size_t number) {
    return std::to_string(number).size();
}

/// Writes the file without its long streams, and adds them up: the rows of a cross-reference table are as long wherever
/// objects are.
std::size_t measureWithoutStreams(QPDF& pdf, const Bytes& loaded, StreamPacking packing) {
    const auto emptied = emptyStoredStreams(pdf, loaded, false);
    Measure measure;
    QPDFWriter writer(pdf);
    writer.setOutputPipeline(&measure);
    setUp(writer, pdf, packing, Protection::none);
    writer.write();
    std::size_t missing = 0;
    for (const auto& [object, size] : emptied) {
        if (writer.getRenumberedObjGen(object).getObj() != 0) { // else nothing refers to it, and it is not written
            missing += size + digitsOf(size) - digitsOf(0);
        }
    }
    const std::size_t place = measure.tablePlace();
    return measure.count() + missing + digitsOf(place + missing) - digitsOf(place);
}

/// Keeps nothing.
class Counter final : public ByteSink {
public:
    void write(std::span<const std::uint8_t> bytes) override { count_ += bytes.size(); }
    [[nodiscard]] std::size_t count() const { return count_; }

private:
    std::size_t count_ = 0;
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
        Counter nowhere;
        seed = writeOnce(pdf, packing, protection, nowhere);
    }
    const DerivedVectors vectors(seed + key);
    writeOnce(pdf, packing, protection, sink);
}

std::size_t measureFile(QPDF& pdf, const Bytes& loaded, StreamPacking packing, Protection protection) {
    // Cross-reference streams are compressed and as long as the places in them let them be; encryption adds to streams.
    if (protection == Protection::none && !compressesStreams(pdf, packing) && !hasObjectStreams(pdf)) {
        return measureWithoutStreams(pdf, loaded, packing);
    }
    Counter counter;
    writeFile(pdf, loaded, packing, protection, counter);
    return counter.count();
}

} // namespace orvex
