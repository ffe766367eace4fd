// PDFium through Qt PDF. It needs no application object, but it is not safe for threads: one lock around all of it.
#include "Platform/PDF/TextReader_p.h"

#include "Platform/PDF/PDFSource_p.h"

#include <QtCore/QBuffer>
#include <QtPdf/QPdfDocument>
#include <QtPdf/QPdfSelection>

#include <limits>
#include <memory>
#include <mutex>

namespace orvex {

namespace {

/// The document that was read last stays open: callers ask page after page.
class LastDocument {
public:
    /// Lives for ever: Qt's own statics are gone when ours would be destroyed.
    static LastDocument& shared() {
        static auto& last = *new LastDocument;
        return last;
    }

    std::mutex mutex;

    void forget(const PDFSource& source) {
        if (source.bytes().data() == data_) {
            close();
        }
    }

    QPdfDocument* open(const PDFSource& source) {
        if (source.bytes().data() != data_) {
            close();
            load(source);
        }
        return document_ && document_->status() == QPdfDocument::Status::Ready ? document_.get() : nullptr;
    }

private:
    void close() {
        document_.reset();
        buffer_.reset();
        bytes_ = {};
        data_ = nullptr;
    }

    void load(const PDFSource& source) {
        if (source.bytes().size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
            return;
        }
        bytes_ = source.bytes();
        data_ = bytes_.data();
        buffer_ = std::make_unique<QBuffer>();
        buffer_->setData(QByteArray::fromRawData(reinterpret_cast<const char*>(bytes_.data()),
                                                 static_cast<qsizetype>(bytes_.size())));
        buffer_->open(QIODevice::ReadOnly);
        document_ = std::make_unique<QPdfDocument>(nullptr);
        document_->setPassword(QString::fromStdString(source.password()));
        document_->load(buffer_.get());
    }

    Bytes bytes_;
    const void* data_ = nullptr;
    std::unique_ptr<QBuffer> buffer_;
    std::unique_ptr<QPdfDocument> document_;
};

} // namespace

std::string readPageText(const PDFSource& source, int page) {
    LastDocument& last = LastDocument::shared();
    const std::lock_guard lock(last.mutex);
    QPdfDocument* document = last.open(source);
    if (document == nullptr || page >= document->pageCount()) {
        return {};
    }
    return document->getAllText(page).text().toStdString();
}

void forgetPageText(const PDFSource& source) {
    LastDocument& last = LastDocument::shared();
    const std::lock_guard lock(last.mutex);
    last.forget(source);
}

} // namespace orvex
