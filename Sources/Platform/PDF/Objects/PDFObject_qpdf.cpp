#include "Platform/PDF/Objects/PDFObject.h"

#include "Platform/PDF/Numbers_p.h"
#include "Platform/PDF/Objects/KeyOrder_p.h"
#include "Platform/PDF/Objects/StreamFilters_p.h"
#include "Platform/PDF/PDFDocument.h"
#include "Platform/PDF/PDFPage.h"
#include "Platform/PDF/PDFSource_p.h"

#include <qpdf/Buffer.hh>

#include <algorithm>
#include <exception>

namespace orvex {

struct PDFObject::Place {
    std::shared_ptr<PDFSource> source;
    QPDFObjectHandle handle;
    QPDFObjGen owner; ///< the indirect object in whose text the value stands

    using Guard = std::lock_guard<std::recursive_mutex>;

    /// What `read` finds, with the file locked; `otherwise` for the null object and where the parser gives up.
    template <class Value, class Read>
    static Value look(const std::shared_ptr<const Place>& place, Value otherwise, Read&& read) {
        if (!place) {
            return otherwise;
        }
        const Guard lock(place->source->mutex());
        try {
            Value value = read(*place, QPDFObjectHandle(place->handle));
            place->source->requireMemory();
            return value;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            return otherwise;
        }
    }

    static PDFObject object(const std::shared_ptr<PDFSource>& source, QPDFObjectHandle handle, QPDFObjGen owner) {
        if (handle.isNull()) { // also resolves a reference
            return {};
        }
        const QPDFObjGen own = handle.isIndirect() ? handle.getObjGen() : owner;
        return PDFObject(std::make_shared<const Place>(Place{source, handle, own}));
    }
    [[nodiscard]] PDFObject inner(const QPDFObjectHandle& value) const { return object(source, value, owner); }
};

namespace {

/// An image page has a file only once it is written to one.
std::shared_ptr<PDFSource> fileOf(const PDFPage& page) {
    try {
        PDFDocument document;
        document.insertPage(std::make_shared<PDFPage>(page.content()), 0);
        const auto file = document.dataRepresentation();
        return file ? PDFSource::open(*file, {}) : nullptr;
    } catch (const PDFWriteError&) {
        return nullptr;
    } catch (const PDFOpenError&) {
        return nullptr;
    }
}

std::string slashed(std::string_view key) {
    return "/" + std::string(key);
}

std::string unslashed(const std::string& name) {
    return name.substr(std::min<std::size_t>(1, name.size()));
}

PDFObject::Kind kindOf(const QPDFObjectHandle& value) {
    using Kind = PDFObject::Kind;
    switch (QPDFObjectHandle(value).getTypeCode()) {
    case ::ot_boolean:
        return Kind::boolean;
    case ::ot_integer:
        return Kind::integer;
    case ::ot_real:
        return Kind::real;
    case ::ot_name:
        return Kind::name;
    case ::ot_string:
        return Kind::string;
    case ::ot_array:
        return Kind::array;
    case ::ot_dictionary:
        return Kind::dictionary;
    case ::ot_stream:
        return Kind::stream;
    default:
        return Kind::null;
    }
}

} // namespace

PDFObject::PDFObject() = default;

PDFObject PDFObject::ofPage(const PDFPage& page) {
    const auto* loaded = std::get_if<LoadedPageContent>(&page.content());
    if (loaded == nullptr && !std::holds_alternative<ImagePageContent>(page.content())) {
        return {};
    }
    const auto source = loaded != nullptr ? loaded->source : fileOf(page);
    const int index = loaded != nullptr ? loaded->index : 0;
    if (!source || index >= source->pageCount()) {
        return {};
    }
    const Place::Guard lock(source->mutex());
    return Place::object(source, source->page(index), {});
}

PDFObject::Kind PDFObject::kind() const {
    return Place::look(place_, Kind::null, [](const Place&, QPDFObjectHandle value) { return kindOf(value); });
}

int PDFObject::objectNumber() const {
    return Place::look(place_, 0, [](const Place&, QPDFObjectHandle value) { return value.getObjectID(); });
}

std::optional<std::int64_t> PDFObject::integer() const {
    return Place::look(place_, std::optional<std::int64_t>(), [](const Place&, QPDFObjectHandle value) {
        return value.isInteger() ? std::optional<std::int64_t>(value.getIntValue()) : std::nullopt;
    });
}

std::optional<bool> PDFObject::boolean() const {
    return Place::look(place_, std::optional<bool>(), [](const Place&, QPDFObjectHandle value) {
        return value.isBool() ? std::optional(value.getBoolValue()) : std::nullopt;
    });
}

std::optional<double> PDFObject::number() const {
    return Place::look(place_, std::optional<double>(), [](const Place&, QPDFObjectHandle value) {
        double number = 0;
        return readNumber(value, number) ? std::optional(number) : std::nullopt;
    });
}

std::optional<std::string> PDFObject::name() const {
    return Place::look(place_, std::optional<std::string>(), [](const Place&, QPDFObjectHandle value) {
        return value.isName() ? std::optional(unslashed(value.getName())) : std::nullopt;
    });
}

std::optional<Bytes> PDFObject::string() const {
    return Place::look(place_, std::optional<Bytes>(), [](const Place&, QPDFObjectHandle value) {
        return value.isString() ? std::optional(Bytes(value.getStringValue())) : std::nullopt;
    });
}

std::size_t PDFObject::count() const {
    return Place::look(place_, std::size_t{0}, [](const Place&, QPDFObjectHandle value) {
        return value.isArray() ? static_cast<std::size_t>(value.getArrayNItems()) : 0;
    });
}

PDFObject PDFObject::at(std::size_t index) const {
    return Place::look(place_, PDFObject(), [index](const Place& place, QPDFObjectHandle value) {
        const bool inside = value.isArray() && index < static_cast<std::size_t>(value.getArrayNItems());
        return inside ? place.inner(value.getArrayItem(static_cast<int>(index))) : PDFObject();
    });
}

PDFObject PDFObject::get(std::string_view key) const {
    return Place::look(place_, PDFObject(), [key](const Place& place, QPDFObjectHandle value) {
        return value.isDictionary() ? place.inner(value.getKey(slashed(key))) : PDFObject();
    });
}

std::vector<std::string> PDFObject::keys() const {
    return Place::look(place_, std::vector<std::string>(), [](const Place& place, QPDFObjectHandle value) {
        std::vector<std::string> keys;
        if (value.isDictionary()) {
            keys = keysInFileOrder(*place.source, value, place.owner);
            std::transform(keys.begin(), keys.end(), keys.begin(), unslashed);
        }
        return keys;
    });
}

PDFObject PDFObject::streamDictionary() const {
    return Place::look(place_, PDFObject(), [](const Place& place, QPDFObjectHandle value) {
        return value.isStream() ? place.inner(value.getDict()) : PDFObject();
    });
}

std::optional<PDFStreamData> PDFObject::streamData(std::size_t limit) const {
    const auto stored = Place::look(place_, std::shared_ptr<Buffer>(), [](const Place&, QPDFObjectHandle value) {
        return value.isStream() ? value.getRawStreamData() : nullptr;
    });
    if (!stored) {
        return std::nullopt;
    }
    // Decoding takes long; the file is not locked meanwhile.
    const Bytes bytes(stored, {stored->getBuffer(), stored->getSize()});
    return decodeStream(streamDictionary(), bytes, std::min(limit, mostStreamBytes));
}

} // namespace orvex
