// Large PDFs for measurements, written object by object without any library.
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvex {

/// The first object that is added has number 1 and is the catalog.
class PlainFile {
public:
    static std::string reference(int number) { return std::to_string(number) + " 0 R "; }

    void add(std::string_view body) {
        offsets_.push_back(text_.size());
        text_.append(std::to_string(offsets_.size())).append(" 0 obj\n").append(body).append("\nendobj\n");
    }
    void addStream(const std::string& entries, const std::string& data) {
        add("<< " + entries + "/Length " + std::to_string(data.size()) + " >>\nstream\n" + data + "\nendstream");
    }
    std::string finished() {
        const auto table = text_.size();
        const std::string size = std::to_string(offsets_.size() + 1);
        text_ += "xref\n0 " + size + "\n0000000000 65535 f \n";
        for (const auto offset : offsets_) {
            std::array<char, 21> line{};
            std::snprintf(line.data(), line.size(), "%010zu 00000 n \n", offset);
            text_ += line.data();
        }
        text_ += "trailer\n<< /Size " + size + " /Root 1 0 R >>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n";
        return std::move(text_);
    }

private:
    std::string text_ = "%PDF-1.7\n";
    std::vector<std::size_t> offsets_;
};

} // namespace orvex
