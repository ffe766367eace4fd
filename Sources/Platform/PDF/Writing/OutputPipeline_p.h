// What qpdf writes, on its way to a file.
#pragma once

#include "Platform/PDF/Writing/FileOutput_p.h"

#include <qpdf/Pipeline.hh>

#include <exception>

namespace orvex {

/// qpdf takes an exception of a pipeline for damage of the stream that it reads, and calls pipelines from destructors
/// too: bytes that come after a failure of the output are dropped, and the failure waits here.
class OutputPipeline : public Pipeline {
public:
    explicit OutputPipeline(FileOutput& output) : Pipeline("output", nullptr), output_(output) {}

    void write(const unsigned char* data, std::size_t length) override {
        attempt([&] { write(std::string_view(reinterpret_cast<const char*>(data), length)); });
    }
    void finish() override {}

    void rethrowFailure() const {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

protected:
    virtual void write(std::string_view bytes) { output_.write(bytes); }
    [[nodiscard]] FileOutput& output() { return output_; }

private:
    template <class Action> void attempt(const Action& action) {
        if (failure_) {
            return;
        }
        try {
            action();
        } catch (...) {
            failure_ = std::current_exception();
        }
    }

    FileOutput& output_;
    std::exception_ptr failure_;
};

} // namespace orvex
