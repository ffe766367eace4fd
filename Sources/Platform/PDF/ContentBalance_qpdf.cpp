#include "Platform/PDF/ContentBalance_p.h"

#include "Platform/PDF/PDFDocument.h"
#include "Platform/PDF/Reading/StreamBytes_p.h"

#include <qpdf/BufferInputSource.hh>
#include <qpdf/QPDFTokenizer.hh>

#include <algorithm>
#include <memory>

namespace orvex {

namespace {

/// Nobody's page is as long; a few kilobytes can claim to be.
constexpr std::size_t longestContent = std::size_t{256} << 20;

void count(ContentBalance& balance, const std::string& name) {
    if (name == "q") {
        ++balance.openSaves;
    } else if (name == "Q") {
        balance.missingSaves += balance.openSaves == 0 ? 1 : 0;
        balance.openSaves = std::max(0, balance.openSaves - 1);
    } else if (name == "BT" || name == "ET") {
        balance.openText = name == "BT";
    } else if (name == "BMC" || name == "BDC") {
        ++balance.openMarkedContent;
    } else if (name == "EMC") {
        balance.openMarkedContent = std::max(0, balance.openMarkedContent - 1);
    }
}

std::string repeated(std::string_view text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

} // namespace

std::string ContentBalance::opening() const {
    return repeated("q\n", missingSaves);
}

std::string ContentBalance::closing() const {
    return "\n" + repeated("ET\n", openText ? 1 : 0) + repeated("EMC\n", openMarkedContent) +
           repeated("Q\n", openSaves);
}

std::string joinedContent(QPDFObjectHandle page) {
    std::string content;
    for (auto& stream : page.getPageContents()) {
        content += decodedBytes(stream, longestContent - content.size());
        if (content.size() >= longestContent) {
            throw PDFWriteError("a page's content is too long to draw over: more than 256 MB");
        }
        content += '\n';
    }
    return content;
}

ContentBalance measureBalance(std::string_view content) {
    ContentBalance balance;
    const std::shared_ptr<InputSource> input = std::make_shared<BufferInputSource>("content", std::string(content));
    QPDFTokenizer tokenizer;
    tokenizer.allowEOF();
    while (true) {
        const auto token = tokenizer.readToken(input, "content", true);
        if (token.getType() == QPDFTokenizer::tt_eof) {
            return balance;
        }
        const bool atEnd = static_cast<std::size_t>(input->tell()) >= content.size();
        if (token.getType() == QPDFTokenizer::tt_bad && atEnd) {
            balance.unterminated = true;
            return balance;
        }
        if (token.isWord("ID")) {
            tokenizer.expectInlineImage(input);
        } else if (token.getType() == QPDFTokenizer::tt_word) {
            count(balance, token.getValue());
        }
    }
}

} // namespace orvex
