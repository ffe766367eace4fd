#include "Platform/PDF/ContentBalance_p.h"

#include <algorithm>
#include <stdexcept>

namespace orvex {

namespace {

class Counter final : public QPDFObjectHandle::ParserCallbacks {
public:
    explicit Counter(ContentBalance& balance) : balance_(balance) {}

    void handleObject(QPDFObjectHandle object) override {
        if (!object.isOperator()) {
            return;
        }
        const std::string name = object.getOperatorValue();
        if (name == "q") {
            ++balance_.openSaves;
        } else if (name == "Q") {
            --balance_.openSaves;
            if (balance_.openSaves < 0) {
                balance_.openSaves = 0;
                ++balance_.missingSaves;
            }
        } else if (name == "BT" || name == "ET") {
            balance_.openText = name == "BT";
        } else if (name == "BMC" || name == "BDC") {
            ++balance_.openMarkedContent;
        } else if (name == "EMC") {
            balance_.openMarkedContent = std::max(0, balance_.openMarkedContent - 1);
        }
    }
    void handleEOF() override {}

private:
    ContentBalance& balance_;
};

std::string repeated(const char* text, int times) {
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
    return std::string("\n") + (openText ? "ET\n" : "") + repeated("EMC\n", openMarkedContent) +
           repeated("Q\n", openSaves);
}

ContentBalance measureBalance(QPDFObjectHandle page) {
    ContentBalance balance;
    Counter counter(balance);
    try {
        page.parsePageContents(&counter);
    } catch (const std::exception&) { // damaged content: what was counted so far is the best guess
        return balance;
    }
    return balance;
}

} // namespace orvex
