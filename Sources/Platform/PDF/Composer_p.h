// Puts a document together for saving. The base file keeps what is not pages; pages from elsewhere are copied with what
// they need; every page draws itself, and what it draws over its content is appended to it.
#pragma once

#include "Platform/PDF/ContentStream_p.h"
#include "Platform/PDF/ContentStreams_p.h"
#include "Platform/PDF/ImageObjects_p.h"
#include "Platform/PDF/InvisibleFont_p.h"
#include "Platform/PDF/PDFSource_p.h"
#include "Platform/PDF/Saving/Composition_p.h"
#include "Platform/PDF/Writing/FileWriter_p.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace orvex {

/// One use: construct, write or measure. Keeps the sources of foreign pages locked meanwhile.
class Composer {
public:
    enum class Purpose {
        file,   ///< with everything that belongs to a document
        picture ///< just what pages look like
    };
    /// `base` may be null: a document of its own. Throws PDFWriteError.
    Composer(std::shared_ptr<PDFSource> base, const std::vector<PDFPagePtr>& pages,
             const std::map<PDFInfoKey, std::string>& info, Purpose purpose = Purpose::file);
    /// Crops no page to less than its media box.
    void showMediaBoxes();
    /// Makes what form fields look like part of the pages' content.
    void showFields();
    /// Throws PDFWriteError, and whatever the sink throws.
    void write(ByteSink& sink);
    /// How many bytes write() would write, instead of it. Throws PDFWriteError.
    [[nodiscard]] std::size_t measure();
    /// Which pages are empty, since nothing of them could be read.
    [[nodiscard]] const std::vector<std::int64_t>& emptiedPages() const { return emptiedPages_; }

private:
    void finish(const std::function<void(const FileForm&)>& use);
    void lockSources();
    void requireMemoryOfAll();
    void placePages();
    QPDFObjectHandle placeLoaded(const PDFPage& page, const LoadedPageContent& content);
    PageImport& importFor(const LoadedPageContent& content, int copy);
    void requirePage(QPDFObjectHandle object, bool asPicture);
    void noteEmptied(bool asPicture);
    void copyPages();
    void buildTree();
    void drawPages();
    void drawPages(std::size_t first, std::size_t count);
    [[nodiscard]] bool isDrawnAside(const PDFPage& page) const;
    void drawPage(PDFPage& page, QPDFObjectHandle object);
    void finishPage(const PDFPage& page, QPDFObjectHandle object, ContentStreamContext& drawn);
    void finishLoadedPage(QPDFObjectHandle object, const ContentStreamContext& drawn);
    void surroundContent(QPDFObjectHandle object, const std::string& before, const std::string& after);
    void wrapContent(QPDFObjectHandle object);
    void finishOwnPage(const PDFPage& page, QPDFObjectHandle object, const ContentStreamContext& drawn);
    void addResources(QPDFObjectHandle page, const DrawnResources& drawn);
    QPDFObjectHandle alphaState(double alpha);
    void makeFonts();
    void stampInfo(const std::map<PDFInfoKey, std::string>& info);

    std::shared_ptr<PDFSource> base_;
    const std::vector<PDFPagePtr>& pages_;
    std::set<std::shared_ptr<PDFSource>> lockedSources_;
    std::vector<std::unique_lock<std::recursive_mutex>> locks_;
    std::shared_ptr<QPDF> target_;
    Composition document_;
    bool bringsTags_ = false;
    std::vector<QPDFObjectHandle> objects_; ///< one per page
    std::vector<std::int64_t> emptiedPages_;
    std::map<PDFSource*, std::vector<int>> copies_; ///< how often the pages of a file stand in the document
    std::map<PDFSource*, std::shared_ptr<ImportSource>> importSources_;
    std::map<std::pair<PDFSource*, int>, PageImport*> imports_; ///< by file and how-manieth copy of its pages
    ImageObjects images_;
    InvisibleFont invisible_;
    OutlineFonts outlines_;
    QPDFObjectHandle invisibleObject_; ///< reserved when the first page uses it, as are the faces
    std::map<FontFile, QPDFObjectHandle> faceObjects_;
    std::map<double, QPDFObjectHandle> alphaStates_;
    ContentStreams contents_;
};

} // namespace orvex
