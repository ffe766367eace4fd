// CCITT facsimile data, groups 3 and 4, by the rules of ITU-T T.4 and T.6. Our own since fax libraries expect what TIFF
// files hold: no byte-aligned two-dimensional rows, no one-dimensional rows without line ends.
#include "Platform/PDF/Objects/FaxCodes_p.h"
#include "Platform/PDF/Objects/StreamFilters_p.h"

#include <algorithm>
#include <array>

namespace orvex {

namespace {

class Bits {
public:
    explicit Bits(ByteSpan data) : data_(data) {}
    /// The next bits, zeros behind the end.
    [[nodiscard]] unsigned peek(unsigned count) const {
        std::uint32_t window = 0;
        const std::size_t byte = position_ / 8;
        for (std::size_t i = byte; i < byte + 4; ++i) {
            window = window << 8 | (i < data_.size() ? data_[i] : 0u);
        }
        return window << position_ % 8 >> (32 - count);
    }
    void skip(unsigned count) { position_ += count; }
    void align() { position_ = (position_ + 7) / 8 * 8; }
    [[nodiscard]] bool ended() const { return position_ >= 8 * data_.size(); }
    /// Whole bytes up to here.
    [[nodiscard]] std::size_t used() const { return std::min((position_ + 7) / 8, data_.size()); }

private:
    ByteSpan data_;
    std::size_t position_ = 0; ///< in bits
};

/// Where a row changes its colour, from white on; behind the last change the row's width stands.
class Row {
public:
    explicit Row(std::int64_t width) : width_(width) {}
    void clear() { changes_.clear(); }
    /// Out of order or range is brought into it.
    void change(std::int64_t at) { changes_.push_back(std::clamp(at, changes_.empty() ? 0 : changes_.back(), width_)); }
    [[nodiscard]] std::int64_t at(std::size_t index) const {
        return index < changes_.size() ? changes_[index] : width_;
    }
    [[nodiscard]] std::size_t count() const { return changes_.size(); }

private:
    std::int64_t width_;
    std::vector<std::int64_t> changes_;
};

enum class Mode { pass, horizontal, vertical, none };
struct ModeCode {
    unsigned bits;
    unsigned length;
    Mode mode;
    int offset;
};
/// T.4, table 4.
constexpr std::array<ModeCode, 9> modeCodes = {{{0b1, 1, Mode::vertical, 0},
                                                {0b011, 3, Mode::vertical, 1},
                                                {0b010, 3, Mode::vertical, -1},
                                                {0b001, 3, Mode::horizontal, 0},
                                                {0b0001, 4, Mode::pass, 0},
                                                {0b000011, 6, Mode::vertical, 2},
                                                {0b000010, 6, Mode::vertical, -2},
                                                {0b0000011, 7, Mode::vertical, 3},
                                                {0b0000010, 7, Mode::vertical, -3}}};

class Decoder {
public:
    Decoder(ByteSpan data, const FaxParameters& parameters)
        : bits_(data), parameters_(parameters), row_(parameters.columns), above_(parameters.columns) {}

    ByteBuffer run(std::size_t limit) {
        const auto rowBytes = static_cast<std::size_t>((parameters_.columns + 7) / 8);
        const std::size_t rows =
            std::min(parameters_.rows > 0 ? static_cast<std::size_t>(parameters_.rows) : limit, limit / rowBytes + 1);
        ByteBuffer out;
        for (std::size_t y = 0; y < rows && beginRow(); ++y) {
            const bool goesOn = readRow() || findLineEnd();
            if (goesOn || row_.count() > 0) {
                out.resize((y + 1) * rowBytes, white());
                paint(std::span(out).last(rowBytes));
            }
            if (!goesOn) {
                break;
            }
            std::swap(row_, above_);
        }
        if (parameters_.rows > 0) { // paper that the data do not reach
            out.resize(std::min(rows * rowBytes, limit), white());
        }
        return out;
    }

    std::size_t usedBytes() {
        constexpr unsigned endOfBlock = 0x001001; // two line ends
        bits_.skip(bits_.peek(24) == endOfBlock ? 24 : 0);
        return bits_.used();
    }

private:
    [[nodiscard]] std::uint8_t white() const { return parameters_.blackIs1 ? 0 : 0xFF; }

    /// Passes over what stands between rows. False at the end of the block or the data.
    bool beginRow() {
        // So many line ends close a block.
        const int closing = parameters_.k < 0 ? 2 : 6;
        twoDimensional_ = parameters_.k < 0;
        // A line end that is aligned ends on a boundary, it need not begin on one; without line ends a row's first code
        // behind the filling can look like one.
        int ends = !parameters_.byteAligned || parameters_.endOfLine ? skipLineEnds() : 0;
        if (parameters_.byteAligned && ends == 0) {
            bits_.align();
            ends += skipLineEnds();
        }
        if (ends == 0 && parameters_.k > 0) {
            readTag();
        }
        return ends < closing && !bits_.ended();
    }

    int skipLineEnds() {
        int ends = 0;
        for (; skipLineEnd(); ++ends) {
            if (parameters_.k > 0) {
                readTag();
            }
        }
        return ends;
    }

    void readTag() {
        twoDimensional_ = bits_.peek(1) == 0;
        bits_.skip(1);
    }

    /// A line end is eleven zeros or more, then a one.
    bool skipLineEnd() {
        constexpr unsigned zeros = 11;
        if (bits_.ended() || bits_.peek(zeros) != 0) {
            return false;
        }
        bits_.skip(zeros);
        while (!bits_.ended() && bits_.peek(1) == 0) {
            bits_.skip(1);
        }
        bits_.skip(1);
        return true;
    }

    /// After damage: on to where the next row is known to begin. Only group 3 data can say.
    bool findLineEnd() {
        constexpr unsigned zeros = 11;
        while (parameters_.k >= 0 && !bits_.ended() && bits_.peek(zeros) != 0) {
            bits_.skip(1);
        }
        return parameters_.k >= 0 && !bits_.ended();
    }

    bool readRow() {
        row_.clear();
        return twoDimensional_ ? readTwoDimensionalRow() : readOneDimensionalRow();
    }

    bool readOneDimensionalRow() {
        std::int64_t at = 0;
        for (bool black = false; at < parameters_.columns; black = !black) {
            const std::int64_t length = readRun(black);
            if (length < 0) {
                return false;
            }
            at += length;
            row_.change(at);
        }
        return true;
    }

    bool readTwoDimensionalRow() {
        std::int64_t at = -1; // before the first pixel
        bool black = false;
        std::size_t next = 0; // the change above that the row is described by: of this colour, right of `at`
        while (at < parameters_.columns) {
            while (above_.at(next) <= at && above_.at(next) < parameters_.columns) {
                next += 2;
            }
            const ModeCode code = readMode();
            if (code.mode == Mode::vertical) {
                const std::int64_t change = above_.at(next) + code.offset;
                if (change < at) {
                    return false;
                }
                row_.change(change);
                at = change;
                black = !black;
                next = next > 0 ? next - 1 : 1;
            } else if (code.mode == Mode::pass) {
                at = above_.at(next + 1);
            } else if (code.mode == Mode::none || !readPair(at, black)) {
                return false;
            }
        }
        return true;
    }

    bool readPair(std::int64_t& at, bool black) {
        at = std::max<std::int64_t>(at, 0);
        for (const bool color : {black, !black}) {
            const std::int64_t length = readRun(color);
            if (length < 0) {
                return false;
            }
            at += length;
            row_.change(at);
        }
        return true;
    }

    ModeCode readMode() {
        const auto matches = [this](const ModeCode& code) { return bits_.peek(code.length) == code.bits; };
        const auto* found = std::find_if(modeCodes.begin(), modeCodes.end(), matches);
        if (found == modeCodes.end() || bits_.ended()) {
            return {0, 0, Mode::none, 0};
        }
        bits_.skip(found->length);
        return *found;
    }

    /// Pixels of a run; below zero for bits that are no run.
    std::int64_t readRun(bool black) {
        const auto& table = black ? fax::blackRuns() : fax::whiteRuns();
        std::int64_t length = 0;
        for (;;) {
            const fax::Run run = table[bits_.peek(fax::longestCode)];
            if (run.bits == 0 || bits_.ended()) {
                return -1;
            }
            bits_.skip(run.bits);
            length = std::min(length + run.length, parameters_.columns);
            if (run.length < 64) {
                return length;
            }
        }
    }

    void paint(std::span<std::uint8_t> out) const {
        for (std::size_t i = 0; i < row_.count(); i += 2) {
            fill(out, static_cast<std::size_t>(row_.at(i)), static_cast<std::size_t>(row_.at(i + 1)));
        }
    }

    /// Turns white pixels to black.
    static void fill(std::span<std::uint8_t> out, std::size_t from, std::size_t to) {
        while (from < to) {
            const std::size_t end = std::min(to, (from / 8 + 1) * 8);
            const unsigned mask = (0xFFu >> from % 8) & (0xFFu << (from / 8 * 8 + 8 - end));
            out[from / 8] = static_cast<std::uint8_t>(out[from / 8] ^ mask);
            from = end;
        }
    }

    Bits bits_;
    FaxParameters parameters_;
    Row row_;
    Row above_;
    bool twoDimensional_ = false;
};

} // namespace

ByteBuffer decodeFax(ByteSpan data, const FaxParameters& parameters, std::size_t limit, std::size_t* used) {
    constexpr std::int64_t mostColumns = std::int64_t{1} << 26;
    if (parameters.columns < 1 || parameters.columns > mostColumns) {
        return {};
    }
    Decoder decoder(data, parameters);
    ByteBuffer out = decoder.run(limit);
    if (used != nullptr) {
        *used = decoder.usedBytes();
    }
    out.resize(std::min(out.size(), limit));
    return out;
}

} // namespace orvex
