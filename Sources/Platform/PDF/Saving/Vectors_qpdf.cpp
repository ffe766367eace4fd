#include "Platform/PDF/Saving/Vectors_p.h"

#include "Platform/PDF/Digest_p.h"

#include <qpdf/QUtil.hh>
#include <qpdf/RandomDataProvider.hh>

#include <algorithm>
#include <mutex>
#include <optional>

namespace orvex {

namespace {

struct Derivation {
    std::string seed;
    unsigned long long count = 0;
};

thread_local std::optional<Derivation> derivation;

class Provider final : public RandomDataProvider {
public:
    explicit Provider(RandomDataProvider* truly) : truly_(truly) {}

    void provideRandomData(unsigned char* data, std::size_t length) override {
        if (!derivation) {
            truly_->provideRandomData(data, length);
            return;
        }
        for (std::size_t done = 0; done < length;) {
            const std::string text = derivation->seed + " " + std::to_string(derivation->count++);
            const auto [high, low] = digest({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
            for (int i = 0; i < 16 && done < length; ++i, ++done) {
                data[done] = static_cast<unsigned char>((i < 8 ? high >> (8 * i) : low >> (8 * (i - 8))) & 0xFFU);
            }
        }
    }

private:
    RandomDataProvider* truly_;
};

/// qpdf knows one provider for the process; ours hands on whatever it is not asked to derive.
void installProvider() {
    static std::once_flag once;
    std::call_once(once, [] {
        static Provider provider(QUtil::getRandomDataProvider());
        QUtil::setRandomDataProvider(&provider);
    });
}

} // namespace

DerivedVectors::DerivedVectors(std::string seed) {
    installProvider();
    derivation = Derivation{std::move(seed)};
}

DerivedVectors::~DerivedVectors() {
    derivation.reset();
}

} // namespace orvex
