#include "Platform/PDF/Reading/Encoding_p.h"

#include <algorithm>
#include <span>

namespace orvex {

namespace {

/// Characters of neighbouring codes.
struct Run {
    unsigned first;
    std::u16string_view characters;
};

// Facts of ISO 32000, annex D, through the Adobe glyph lists.
constexpr std::array<Run, 14> standard = {{
    {0x20, u" !\"#$%&’()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_‘abcdefghijklmnopqrstuvwxyz{|}~"},
    {0xA1, u"¡¢£⁄¥ƒ§¤'“«‹›ﬁﬂ"},
    {0xB1, u"–†‡·"},
    {0xB6, u"¶•‚„”»…‰"},
    {0xBF, u"¿"},
    {0xC1, u"`´ˆ˜¯˘˙¨"},
    {0xCA, u"˚¸"},
    {0xCD, u"˝˛ˇ—"},
    {0xE1, u"Æ"},
    {0xE3, u"ª"},
    {0xE8, u"ŁØŒº"},
    {0xF1, u"æ"},
    {0xF5, u"ı"},
    {0xF8, u"łøœß"},
}};

constexpr std::array<Run, 1> winAnsi = {{
    {0x20, u" !\"#$%&'()*+,-./"
           u"0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~"
           u"•€•‚ƒ„…†‡ˆ‰Š‹Œ•Ž••‘’“”•–—˜™š›œ•žŸ "
           u"¡¢£¤¥¦§¨©ª«¬-®¯°±²³´µ¶·¸¹º»¼½¾¿ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞßàáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ"},
}};

constexpr std::array<Run, 2> macRoman = {{
    {0x20, u" !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~"},
    {0x80, u"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø¿¡¬√ƒ≈Δ«»… "
           u"ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄¤‹›ﬁﬂ‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ"},
}};

constexpr std::array<Run, 25> macExpert = {{
    {0x20, u" !˝¢$$&´⁽⁾‥․,-.⁄0123456789:;"},
    {0x3D, u"—"},
    {0x3F, u"?"},
    {0x44, u"Ð"},
    {0x47, u"¼½¾⅛⅜⅝⅞⅓⅔"},
    {0x56, u"ﬀﬁﬂﬃﬄ₍"},
    {0x5D, u"₎ˆ-`ABCDEFGHIJKLMNOPQRSTUVWXYZ₡1R˜"},
    {0x81, u"a¢"},
    {0x87, u"ÁÀÂÄÃÅÇÉÈÊËÍÌÎÏÑÓÒÔÖÕÚÙÛÜ"},
    {0xA1, u"⁸₄₃₆₈₇Š"},
    {0xA9, u"¢₂"},
    {0xAC, u"¨"},
    {0xAE, u"ˇo₅"},
    {0xB2, u",.Ý"},
    {0xB6, u"$"},
    {0xB9, u"Þ"},
    {0xBB, u"₉₀ŽÆØ¿₁Ł"},
    {0xC9, u"¸"},
    {0xCF, u"Œ‒-"},
    {0xD6, u"¡"},
    {0xD8, u"Ÿ"},
    {0xDA, u"¹²³⁴⁵⁶⁷⁹⁰"},
    {0xE4, u"ert"},
    {0xE9, u"isd"},
    {0xF1, u"l˛˘¯bⁿm,.˙˚"},
}};

constexpr std::array<Run, 3> symbol = {{
    {0x20, u" !∀#∃%&∋()∗+,−./0123456789:;<=>?≅ΑΒΧ∆ΕΦΓΗΙϑΚΛΜΝΟΠΘΡΣΤΥςΩΞΨΖ[∴]⊥_‾αβχδεφγηιϕκλμνοπθρστυϖωξψζ{|}∼"},
    {0xA0, u"€ϒ′≤⁄∞ƒ♣♦♥♠↔←↑→↓°±″≥×∝∂•÷≠≡≈…⏐⎯↵ℵℑℜ℘⊗⊕∅∩∪⊃⊇⊄⊂⊆∈∉∠∇®©™∏√⋅¬∧∨⇔⇐⇑⇒⇓◊〈®©™∑⎛⎜⎝⎡⎢⎣⎧⎨⎩⎪"},
    {0xF1, u"〉∫⌠⎮⌡⎞⎟⎠⎤⎥⎦⎫⎬⎭"},
}};

constexpr std::array<Run, 4> zapfDingbats = {{
    {0x20, u" ✁✂✃✄☎✆✇✈✉☛☞✌✍✎✏✐✑✒✓✔✕✖✗✘✙✚✛✜✝✞✟✠✡✢✣✤✥✦✧★✩✪✫✬✭✮✯✰✱✲✳✴✵✶✷✸✹✺✻✼✽✾✿❀❁❂❃❄❅❆❇❈❉❊❋●❍■❏❐❑❒▲▼◆❖◗❘❙❚❛❜❝❞"},
    {0x80, u"❨❩❪❫❬❭❮❯❰❱❲❳❴❵"},
    {0xA1, u"❡❢❣❤❥❦❧♣♦♥♠①②③④⑤⑥⑦⑧⑨⑩❶❷❸❹❺❻❼❽❾❿➀➁➂➃➄➅➆➇➈➉➊➋➌➍➎➏➐➑➒➓➔→↔↕➘➙➚➛➜➝➞➟➠➡➢➣➤➥➦➧➨➩➪➫➬➭➮➯"},
    {0xF1, u"➱➲➳➴➵➶➷➸➹➺➻➼➽➾"},
}};
Encoding spread(std::span<const Run> runs) {
    Encoding encoding{};
    for (const auto& run : runs) {
        std::ranges::copy(run.characters, encoding.begin() + run.first);
    }
    return encoding;
}

} // namespace

const Encoding& encodingOf(BaseEncoding base) {
    static const std::array<Encoding, 6> encodings = {spread(standard),  spread(winAnsi), spread(macRoman),
                                                      spread(macExpert), spread(symbol),  spread(zapfDingbats)};
    return encodings.at(static_cast<std::size_t>(base));
}

std::optional<BaseEncoding> baseEncodingNamed(std::string_view name) {
    if (name == "/WinAnsiEncoding") {
        return BaseEncoding::winAnsi;
    }
    if (name == "/MacRomanEncoding") {
        return BaseEncoding::macRoman;
    }
    if (name == "/MacExpertEncoding") {
        return BaseEncoding::macExpert;
    }
    if (name == "/StandardEncoding") {
        return BaseEncoding::standard;
    }
    return std::nullopt;
}

} // namespace orvex
