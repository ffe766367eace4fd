#include "Platform/PDF/Reading/GlyphNames_p.h"

#include "Platform/Foundation/Strings.h"
#include "Platform/PDF/Reading/Encoding_p.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <optional>

namespace orvex {

namespace {

// The usual names, facts of the Adobe glyph list; small capitals, old-style figures and raised letters are given as the
// plain characters, and pieces of tall brackets as the characters that Unicode has for them, instead of private ones.
constexpr std::string_view usualNames =
    "A AE AEsmall Aacute Aacutesmall Abreve Acircumflex Acircumflexsmall Acutesmall Adieresis Adieresissmall "
    "Agrave Agravesmall Alpha Aogonek Aring Aringsmall Asmall Atilde Atildesmall B Beta Brevesmall Bsmall C "
    "Cacute Caronsmall Ccaron Ccedilla Ccedillasmall Cedillasmall Chi Circumflexsmall Csmall D Dcaron Dcroat "
    "Delta Dieresissmall Dotaccentsmall Dsmall E Eacute Eacutesmall Ecaron Ecircumflex Ecircumflexsmall "
    "Edieresis Edieresissmall Egrave Egravesmall Eogonek Epsilon Esmall Eta Eth Ethsmall Euro F Fsmall G Gamma "
    "Gbreve Gravesmall Gsmall H Hsmall Hungarumlautsmall I Iacute Iacutesmall Icircumflex Icircumflexsmall "
    "Idieresis Idieresissmall Idotaccent Ifraktur Igrave Igravesmall Iota Ismall J Jsmall K Kappa Ksmall L "
    "Lambda Lcaron Lslash Lslashsmall Lsmall M Macronsmall Msmall Mu N Nacute Ncaron Nsmall Ntilde Ntildesmall "
    "Nu O OE OEsmall Oacute Oacutesmall Ocircumflex Ocircumflexsmall Odieresis Odieresissmall Ogoneksmall "
    "Ograve Ogravesmall Ohungarumlaut Omega Omicron Oslash Oslashsmall Osmall Otilde Otildesmall P Phi Pi Psi "
    "Psmall Q Qsmall R Racute Rcaron Rfraktur Rho Ringsmall Rsmall S Sacute Scaron Scaronsmall Scedilla Sigma "
    "Ssmall T Tau Tcaron Tcommaaccent Theta Thorn Thornsmall Tildesmall Tsmall U Uacute Uacutesmall "
    "Ucircumflex Ucircumflexsmall Udieresis Udieresissmall Ugrave Ugravesmall Uhungarumlaut Upsilon Upsilon1 "
    "Uring Usmall V Vsmall W Wsmall X Xi Xsmall Y Yacute Yacutesmall Ydieresis Ydieresissmall Ysmall Z Zacute "
    "Zcaron Zcaronsmall Zdotaccent Zeta Zsmall a aacute abreve acircumflex acute adieresis ae agrave aleph "
    "alpha ampersand ampersandsmall angle angleleft angleright aogonek approxequal aring arrowboth "
    "arrowdblboth arrowdbldown arrowdblleft arrowdblright arrowdblup arrowdown arrowhorizex arrowleft "
    "arrowright arrowup arrowvertex asciicircum asciitilde asterisk asteriskmath asuperior at atilde b "
    "backslash bar beta braceex braceleft braceleftbt braceleftmid bracelefttp braceright bracerightbt "
    "bracerightmid bracerighttp bracketleft bracketleftbt bracketleftex bracketlefttp bracketright "
    "bracketrightbt bracketrightex bracketrighttp breve brokenbar bsuperior bullet c cacute caron "
    "carriagereturn ccaron ccedilla cedilla cent centinferior centoldstyle centsuperior checkmark chi circle "
    "circlemultiply circleplus circumflex club colon colonmonetary comma commaaccent commainferior "
    "commasuperior congruent copyright copyrightsans copyrightserif currency d dagger daggerdbl dcaron dcroat "
    "degree delta diamond dieresis divide dollar dollarinferior dollaroldstyle dollarsuperior dotaccent "
    "dotlessi dotlessj dotmath dsuperior e eacute ecaron ecircumflex edieresis egrave eight eightinferior "
    "eightoldstyle eightsuperior element ellipsis emdash emptyset endash eogonek epsilon equal equivalence "
    "esuperior eta eth exclam exclamdown exclamdownsmall exclamsmall existential f ff ffi ffl fi figuredash "
    "five fiveeighths fiveinferior fiveoldstyle fivesuperior fl florin four fourinferior fouroldstyle "
    "foursuperior fraction g gamma gbreve germandbls gradient grave greater greaterequal guillemotleft "
    "guillemotright guilsinglleft guilsinglright h heart hungarumlaut hyphen hypheninferior hyphensuperior i "
    "iacute icircumflex idieresis igrave infinity integral integralbt integralex integraltp intersection iota "
    "isuperior j k kappa l lambda lcaron less lessequal logicaland logicalnot logicalor lozenge lslash "
    "lsuperior m macron minus minute msuperior mu multiply n nacute nbspace ncaron nine nineinferior "
    "nineoldstyle ninesuperior notelement notequal notsubset nsuperior ntilde nu numbersign o oacute "
    "ocircumflex odieresis oe ogonek ograve ohungarumlaut omega omega1 omicron one onedotenleader oneeighth "
    "onefitted onehalf oneinferior oneoldstyle onequarter onesuperior onethird ordfeminine ordmasculine oslash "
    "osuperior otilde p paragraph parenleft parenleftbt parenleftex parenleftinferior parenleftsuperior "
    "parenlefttp parenright parenrightbt parenrightex parenrightinferior parenrightsuperior parenrighttp "
    "partialdiff percent period periodcentered periodinferior periodsuperior perpendicular perthousand phi "
    "phi1 pi plus plusminus product propersubset propersuperset proportional psi q question questiondown "
    "questiondownsmall questionsmall quotedbl quotedblbase quotedblleft quotedblright quoteleft quoteright "
    "quotesinglbase quotesingle r racute radical radicalex rcaron reflexsubset reflexsuperset registered "
    "registersans registerserif rho ring rsuperior rupiah s sacute scaron scedilla second section semicolon "
    "seven seveneighths seveninferior sevenoldstyle sevensuperior sfthyphen sigma sigma1 similar six "
    "sixinferior sixoldstyle sixsuperior slash space spade ssuperior sterling suchthat summation t tau tcaron "
    "tcommaaccent therefore theta theta1 thorn three threeeighths threeinferior threeoldstyle threequarters "
    "threequartersemdash threesuperior tilde trademark trademarksans trademarkserif tsuperior two "
    "twodotenleader twoinferior twooldstyle twosuperior twothirds u uacute ucircumflex udieresis ugrave "
    "uhungarumlaut underscore union universal upsilon uring v w weierstrass x xi y yacute ydieresis yen z "
    "zacute zcaron zdotaccent zero zeroinferior zerooldstyle zerosuperior zeta ";
constexpr std::u16string_view usualCharacters =
    u"AÆÆÁÁĂÂÂ´ÄÄÀÀΑĄÅÅAÃÃBΒ˘BCĆˇČÇÇ¸ΧˆCDĎĐ∆¨˙DEÉÉĚÊÊËËÈÈĘΕEΗÐÐ€FFGΓĞ`GHH˝IÍÍÎÎÏÏİℑÌÌΙIJJKΚKLΛĽŁŁLM¯MΜNŃŇN"
    u"ÑÑΝOŒŒÓÓÔÔÖÖ˛ÒÒŐΩΟØØOÕÕPΦΠΨPQQRŔŘℜΡ˚RSŚŠŠŞΣSTΤŤŢΘÞÞ˜TUÚÚÛÛÜÜÙÙŰΥϒŮUVVWWXΞXYÝÝŸŸYZŹŽŽŻΖZaáăâ´äæàℵα&&∠"
    u"〈〉ą≈å↔⇔⇓⇐⇒⇑↓⎯←→↑⏐^~*∗a@ãb\\|β⎪{⎩⎨⎧}⎭⎬⎫[⎣⎢⎡]⎦⎥⎤˘¦b•cćˇ↵čç¸¢¢¢¢✓χ○⊗⊕ˆ♣:₡,̦,,≅©©©¤d†‡ďđ°δ♦¨÷$$$$˙ıȷ⋅deéě"
    u"êëè8₈8⁸∈…—∅–ęε=≡eηð!¡¡!∃fﬀﬃﬄﬁ‒5⅝₅5⁵ﬂƒ4₄4⁴⁄gγğß∇`>≥«»‹›h♥˝---iíîïì∞∫⌡⎮⌠∩ιijkκlλľ<≤∧¬∨◊łlm¯−′mµ×nń ň9₉"
    u"9⁹∉≠⊄ⁿñν#oóôöœ˛òőωϖο1․⅛1½₁1¼¹⅓ªºøoõp¶(⎝⎜₍⁽⎛)⎠⎟₎⁾⎞∂%.·..⊥‰φϕπ+±∏⊂⊃∝ψq?¿¿?\"„“”‘’‚'rŕ√‾ř⊆⊇®®®ρ˚rRsśšş″§"
    u";7⅞₇7⁷­σς∼6₆6⁶/ ♠s£∋∑tτťţ∴θϑþ3⅜₃3¾—³˜™™™t2‥₂2²⅔uúûüùű_∪∀υůvw℘xξyýÿ¥zźžż0₀0⁰ζ";
/// From "a1" on; blanks for numbers that ITC Zapf Dingbats does not use.
constexpr std::u16string_view dingbats =
    u"✁✂✄☎✆✝✞✟✠✡☛☞✌✍✎✏✑✒✓✔✕✖✗✘✙✚✛✜✢✣✤✥✦✧★✩✪✫✬✭✮✯✰✱✲✳✴✵✶✷✸✹✺✻✼✽✾✿❀❁❂❃❄❅❆❇❈❉❊❋●❍■❏❑▲▼◆❖ ◗❘❙❚❯❱❲❳❨❩❬❭❪❫❴❵❛❜❝❞"
    u"❡❢❣❤✐❥❦❧♠♥♦♣    ✉✈✇①②③④⑤⑥⑦⑧⑨⑩❶❷❸❹❺❻❼❽❾❿➀➁➂➃➄➅➆➇➈➉➊➋➌➍➎➏➐➑➒➓➔→➣↔↕➙➛➜➝➞➟➠➡➢➤➥➦➧➨➩➫➭➯➲➳➵➸➺➻➼➽➾➚➪➶➹➘➴➷➬➮"
    u"➱✃❐❒❮❰";

constexpr std::size_t longestComponent = 64; ///< of one component; longer ones tell nothing

using Characters = std::unordered_map<std::string_view, char32_t>;

const Characters& usualGlyphs() {
    static const Characters glyphs = [] {
        Characters made;
        std::size_t at = 0;
        for (const char16_t character : usualCharacters) {
            const std::size_t end = usualNames.find(' ', at);
            made.emplace(usualNames.substr(at, end - at), character);
            at = end + 1;
        }
        return made;
    }();
    return glyphs;
}

std::optional<std::uint32_t> number(std::string_view digits, int base) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    return error == std::errc() && end == digits.data() + digits.size() ? std::optional(value) : std::nullopt;
}

/// "uni" and groups of four digits, or "u" and four to six: whether the name has one of these forms.
bool appendNumbered(std::string& text, std::string_view name) {
    if (name.starts_with("uni") && name.size() >= 7 && name.size() % 4 == 3) {
        std::string characters;
        for (std::size_t at = 3; at < name.size(); at += 4) {
            const auto value = number(name.substr(at, 4), 16);
            if (!value || !isCharacter(*value)) {
                return false;
            }
            appendUTF8(characters, *value);
        }
        text += characters;
        return true;
    }
    if (name.starts_with('u') && name.size() >= 5 && name.size() <= 7) {
        const auto value = number(name.substr(1), 16);
        if (value && isCharacter(*value)) {
            appendUTF8(text, *value);
            return true;
        }
    }
    return false;
}

/// "a1": a dingbat's name in a font of dingbats, elsewhere a number that the font's writer gave.
bool isNumberedLikeDingbats(std::string_view name) {
    return name.size() > 1 && name.front() == 'a' && name[1] != '0' && number(name.substr(1), 10);
}

std::optional<char32_t> usualCharacter(std::string_view name, GlyphNaming naming) {
    if (const auto known = usualGlyphs().find(name); known != usualGlyphs().end()) {
        return known->second;
    }
    if (naming == GlyphNaming::dingbats && isNumberedLikeDingbats(name)) {
        const auto at = number(name.substr(1), 10);
        if (at && *at >= 1 && *at <= dingbats.size() && dingbats[*at - 1] != u' ') {
            return dingbats[*at - 1];
        }
    }
    return std::nullopt;
}

/// Calls `visit` with each component of the name before its suffix.
template <typename Visit> void forEachComponent(std::string_view name, Visit visit) {
    name = name.substr(0, name.find('.'));
    while (!name.empty()) {
        const std::size_t end = std::min(name.find('_'), name.size());
        if (end > 0 && end <= longestComponent) {
            visit(name.substr(0, end));
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
}

Characters rareCharacters(std::span<const std::string_view> names, GlyphNaming naming) {
    std::vector<std::string_view> rare;
    for (const auto name : names) {
        forEachComponent(name, [&](std::string_view component) {
            std::string ignored;
            if (!usualCharacter(component, naming) && !isNumberedLikeDingbats(component) &&
                !appendNumbered(ignored, component)) {
                rare.push_back(component);
            }
        });
    }
    return rare.empty() ? Characters() : charactersOfRareGlyphNames(rare);
}

constexpr std::uint32_t firstGlyph = 3; ///< after the missing one, a null and a return
constexpr std::uint32_t firstCyrillic = 570;

/// The standard order of Macintosh fonts: Mac OS Roman, then what it lacks.
const std::u16string& macintoshOrder() {
    static const std::u16string order = [] {
        const Encoding& roman = encodingOf(BaseEncoding::macRoman);
        std::u16string made(roman.begin() + 0x20, roman.begin() + 0x7F);
        made.append(roman.begin() + 0x80, roman.end());
        return made + u"ŁłŠšŽž¦ÐðÝýÞþ−×¹²³½¼¾₣ĞğİŞşĆćČčđ";
    }();
    return order;
}

/// The same without the no-break space and the apple, and with Central European and, far behind, Russian letters.
const std::u16string& extendedOrder() {
    static const std::u16string order = [] {
        constexpr std::size_t space = 0xCA - 0x21;
        constexpr std::size_t apple = 0xF0 - 0x21;
        std::u16string made = macintoshOrder();
        made.erase(apple, 1);
        made.erase(space, 1);
        made.resize(258 - firstGlyph);
        made += u"ĂăĄąĎďĐĘęĚěĹĺĽľĿŀŃńŇňŐőŔŕŘřŚśŢţŤťŮůŰűŹźŻż";
        made.resize(firstCyrillic - firstGlyph);
        for (char16_t letter = u'А'; letter <= u'я'; ++letter) {
            made += letter;
        }
        return made;
    }();
    return order;
}

} // namespace

std::vector<std::string> textsOfGlyphNames(std::span<const std::string_view> names, GlyphNaming naming) {
    const Characters rare = rareCharacters(names, naming);
    std::vector<std::string> texts;
    texts.reserve(names.size());
    for (const auto name : names) {
        std::string text;
        forEachComponent(name, [&](std::string_view component) {
            if (const auto usual = usualCharacter(component, naming)) {
                appendUTF8(text, *usual);
            } else if (const auto known = rare.find(component); known != rare.end()) {
                appendUTF8(text, known->second);
            } else {
                appendNumbered(text, component);
            }
        });
        texts.push_back(std::move(text));
    }
    return texts;
}

std::string textOfGlyphInUsualOrder(std::string_view fontName, std::uint32_t glyph) {
    std::string plain;
    std::ranges::copy_if(fontName, std::back_inserter(plain), [](char c) { return c != ' '; });
    const auto isOneOf = [&plain](std::span<const std::string_view> families) {
        return std::ranges::any_of(families, [&](std::string_view family) { return plain.starts_with(family); });
    };
    static constexpr std::array<std::string_view, 1> complete = {"ArialBlack"};
    static constexpr std::array<std::string_view, 1> russian = {"Arial"};
    static constexpr std::array<std::string_view, 2> extended = {"TimesNewRoman", "CourierNew"};
    static constexpr std::array<std::string_view, 6> plainest = {"Verdana",   "Tahoma",    "Georgia",
                                                                 "Trebuchet", "ComicSans", "Impact"};
    std::u16string_view order;
    if (isOneOf(complete)) {
        order = macintoshOrder();
    } else if (isOneOf(russian)) {
        order = extendedOrder();
    } else if (isOneOf(extended)) {
        order = std::u16string_view(extendedOrder()).substr(0, firstCyrillic - firstGlyph);
    } else if (isOneOf(plainest)) {
        order = std::u16string_view(macintoshOrder()).substr(0, 0x7F - 0x20);
    }
    std::string text;
    if (glyph >= firstGlyph && glyph - firstGlyph < order.size() && order[glyph - firstGlyph] != 0) {
        appendUTF8(text, order[glyph - firstGlyph]);
    }
    return text;
}

void makePlain(std::string& utf8) {
    struct Plain {
        std::string_view character;
        std::string_view text;
    };
    static constexpr std::array<Plain, 8> plain = {{{"\u00A0", " "},
                                                    {"\uFB00", "ff"},
                                                    {"\uFB01", "fi"},
                                                    {"\uFB02", "fl"},
                                                    {"\uFB03", "ffi"},
                                                    {"\uFB04", "ffl"},
                                                    {"\uFB05", "st"},
                                                    {"\uFB06", "st"}}};
    for (const auto& [character, text] : plain) {
        for (std::size_t at = utf8.find(character); at != std::string::npos; at = utf8.find(character, at)) {
            utf8.replace(at, character.size(), text);
        }
    }
}

} // namespace orvex
