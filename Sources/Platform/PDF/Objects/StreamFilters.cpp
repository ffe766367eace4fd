#include "Platform/PDF/Objects/StreamFilters_p.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orvex {

namespace {

/// Real files have one filter or two; each costs a pass over what the ones before it made.
constexpr std::size_t mostFilters = 16;

struct Stage {
    std::string filter;
    PDFObject parameters;
};

/// The full name of a filter that may be written short.
std::string fullName(const std::string& name) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 7> shortNames = {
        {{"AHx", "ASCIIHexDecode"},
         {"A85", "ASCII85Decode"},
         {"LZW", "LZWDecode"},
         {"Fl", "FlateDecode"},
         {"RL", "RunLengthDecode"},
         {"CCF", "CCITTFaxDecode"},
         {"DCT", "DCTDecode"}}};
    const auto* found =
        std::find_if(shortNames.begin(), shortNames.end(), [&](const auto& entry) { return entry.first == name; });
    return found == shortNames.end() ? name : std::string(found->second);
}

/// Empty when the filters are not written as the format wants them.
std::optional<std::vector<Stage>> readStages(const PDFObject& dictionary) {
    const PDFObject filter = dictionary.get("Filter");
    const PDFObject parameters =
        dictionary.get("DecodeParms").isNull() ? dictionary.get("DP") : dictionary.get("DecodeParms");
    const bool listed = filter.kind() == PDFObject::Kind::array;
    const std::size_t count = listed ? filter.count() : filter.isNull() ? 0 : 1;
    if (count > mostFilters) {
        return std::nullopt;
    }
    std::vector<Stage> stages;
    for (std::size_t i = 0; i < count; ++i) {
        const auto name = (listed ? filter.at(i) : filter).name();
        if (!name) {
            return std::nullopt;
        }
        const bool parametersListed = parameters.kind() == PDFObject::Kind::array;
        stages.push_back({fullName(*name), parametersListed ? parameters.at(i) : i == 0 ? parameters : PDFObject()});
    }
    return stages;
}

Predictor readPredictor(const PDFObject& parameters) {
    return {parameters.get("Predictor").integer().value_or(1), parameters.get("Colors").integer().value_or(1),
            parameters.get("BitsPerComponent").integer().value_or(8), parameters.get("Columns").integer().value_or(1)};
}

/// Rows that the filter does not count are those of the image.
FaxParameters readFaxParameters(const PDFObject& parameters, const PDFObject& dictionary) {
    FaxParameters fax;
    fax.k = parameters.get("K").integer().value_or(fax.k);
    fax.columns = parameters.get("Columns").integer().value_or(fax.columns);
    fax.rows = parameters.get("Rows").integer().value_or(0);
    fax.rows = fax.rows > 0 ? fax.rows : dictionary.get("Height").integer().value_or(0);
    fax.byteAligned = parameters.get("EncodedByteAlign").boolean().value_or(false);
    fax.endOfLine = parameters.get("EndOfLine").boolean().value_or(false);
    fax.blackIs1 = parameters.get("BlackIs1").boolean().value_or(false);
    return fax;
}

/// Shared segments are no image, and must not need themselves.
std::optional<PDFStreamData> readGlobals(const PDFObject& stream) {
    const auto stages = readStages(stream.streamDictionary());
    const auto isJbig2 = [](const Stage& stage) { return stage.filter == "JBIG2Decode"; };
    return stages && std::ranges::none_of(*stages, isJbig2) ? stream.streamData() : std::nullopt;
}

Jbig2Image readJbig2(const PDFObject& parameters, const PDFObject& dictionary, const Bytes& data) {
    const auto globals = readGlobals(parameters.get("JBIG2Globals"));
    return {data, globals ? globals->bytes : Bytes(), dictionary.get("Width").integer().value_or(0),
            dictionary.get("Height").integer().value_or(0)};
}

/// How much a predictor wants to see for `limit` bytes of result: PNG rows bring a byte each.
std::size_t limitBeforePredictor(const Predictor& predictor, std::size_t limit) {
    return predictor.kind < 10 ? limit : std::min(2 * limit, PDFObject::mostStreamBytes);
}

std::optional<ByteBuffer> undoStage(const Stage& stage, const PDFObject& dictionary, const Bytes& data,
                                    std::size_t limit) {
    const bool flate = stage.filter == "FlateDecode";
    if (flate || stage.filter == "LZWDecode") {
        const Predictor predictor = readPredictor(stage.parameters);
        const std::size_t wanted = limitBeforePredictor(predictor, limit);
        const bool early = stage.parameters.get("EarlyChange").integer().value_or(1) != 0;
        auto result =
            unpredict(flate ? inflate(data.span(), wanted) : expandLZW(data.span(), early, wanted), predictor);
        if (result && result->size() > limit) {
            result->resize(limit);
        }
        return result;
    }
    if (stage.filter == "RunLengthDecode") {
        return expandRunLengths(data.span(), limit);
    }
    if (stage.filter == "ASCIIHexDecode") {
        return decodeASCIIHex(data.span(), limit);
    }
    if (stage.filter == "ASCII85Decode") {
        return decodeASCII85(data.span(), limit);
    }
    if (stage.filter == "CCITTFaxDecode") {
        return decodeFax(data.span(), readFaxParameters(stage.parameters, dictionary), limit);
    }
    if (stage.filter == "JBIG2Decode") {
        return decodeJbig2(readJbig2(stage.parameters, dictionary, data));
    }
    return std::nullopt;
}

} // namespace

std::optional<PDFStreamData> decodeStream(const PDFObject& dictionary, const Bytes& stored, std::size_t limit) {
    const auto stages = readStages(dictionary);
    if (!stages) {
        return std::nullopt;
    }
    Bytes bytes = stored;
    for (std::size_t i = 0; i < stages->size(); ++i) {
        const Stage& stage = (*stages)[i];
        const bool last = i + 1 == stages->size();
        if (last && stage.filter == "DCTDecode") {
            return PDFStreamData{PDFStreamFormat::jpeg, bytes};
        }
        if (last && stage.filter == "JPXDecode") {
            return PDFStreamData{PDFStreamFormat::jpeg2000, bytes};
        }
        const std::size_t wanted = last ? limit : PDFObject::mostStreamBytes;
        auto undone = undoStage(stage, dictionary, bytes, wanted);
        if (!undone || (!last && undone->size() >= wanted)) {
            return std::nullopt;
        }
        bytes = Bytes(std::move(*undone));
    }
    return PDFStreamData{PDFStreamFormat::raw, bytes.slice(0, limit)};
}

} // namespace orvex
