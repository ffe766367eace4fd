#include "Platform/PDF/Reading/StreamBytes_p.h"

#include <qpdf/Pipeline.hh>

#include <algorithm>
#include <stdexcept>

namespace orvex {

namespace {

/// Throws when there is more than wanted: that stops the filters.
class Collector final : public Pipeline {
public:
    explicit Collector(std::size_t most) : Pipeline("collector", nullptr), most_(most) {}
    void write(unsigned char const* data, std::size_t size) override {
        const std::size_t taken = std::min(size, most_ - bytes_.size());
        bytes_.append(reinterpret_cast<const char*>(data), taken);
        if (taken < size) {
            throw std::length_error("a stream is longer than wanted");
        }
    }
    void finish() override {}
    std::string take() { return std::move(bytes_); }

private:
    std::size_t most_;
    std::string bytes_;
};

} // namespace

std::string decodedBytes(QPDFObjectHandle stream, std::size_t most) {
    if (!stream.isStream()) {
        return {};
    }
    Collector collector(most);
    try {
        bool filtered = false; // asked ahead: of a stream that breaks half way it says no afterwards
        stream.pipeStreamData(nullptr, &filtered, 0, qpdf_dl_generalized);
        if (!filtered && stream.getDict().hasKey("/Filter")) {
            return {};
        }
        stream.pipeStreamData(&collector, nullptr, 0, qpdf_dl_generalized, true, false);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        // what was collected before is what there is
    }
    return collector.take();
}

} // namespace orvex
