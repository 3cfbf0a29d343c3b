#include "jttk/model/name_key.h"

#include <algorithm>
#include <vector>

namespace jttk {

namespace {

// A mark, and pairs of letters: without it and with it.
struct MarkedLetters {
  char16_t mark;
  std::u16string_view pairs;
};
constexpr MarkedLetters kMarkedLetters[] = {
    {u'\u0300', u"AÀEÈIÌOÒUÙaàeèiìoòuùÜǛüǜNǸnǹЕЀИЍеѐиѝĒḔēḕŌṐōṑWẀwẁÂẦâầĂẰăằÊỀêềÔỒôồƠỜơờƯỪưừYỲyỳ"},
    {u'\u0301',
     u"AÁEÉIÍOÓUÚYÝaáeéiíoóuúyýCĆcćLĹlĺNŃnńRŔrŕSŚsśZŹzźÜǗüǘGǴgǵÅǺåǻÆǼæǽØǾøǿΑΆΕΈΗΉΙΊΟΌΥΎ"
     u"ΩΏϊΐαάεέηήιίϋΰοόυύωώГЃКЌгѓкќÇḈçḉĒḖēḗÏḮïḯKḰkḱMḾmḿÕṌõṍŌṒōṓPṔpṕŨṸũṹWẂwẃÂẤâấĂẮăắÊẾêế"
     u"ÔỐôốƠỚơớƯỨưứ"},
    {u'\u0302', u"AÂEÊIÎOÔUÛaâeêiîoôuûCĈcĉGĜgĝHĤhĥJĴjĵSŜsŝWŴwŵYŶyŷZẐzẑẠẬạậẸỆẹệỌỘọộ"},
    {u'\u0303', u"AÃNÑOÕaãnñoõIĨiĩUŨuũVṼvṽÂẪâẫĂẴăẵEẼeẽÊỄêễÔỖôỗƠỠơỡƯỮưữYỸyỹ"},
    {u'\u0304', u"AĀaāEĒeēIĪiīOŌoōUŪuūÜǕüǖÄǞäǟȦǠȧǡÆǢæǣǪǬǫǭÖȪöȫÕȬõȭȮȰȯȱYȲyȳИӢиӣУӮуӯGḠgḡḶḸḷḹṚṜṛṝ"},
    {u'\u0306', u"AĂaăEĔeĕGĞgğIĬiĭOŎoŏUŬuŭУЎИЙийуўЖӁжӂАӐаӑЕӖеӗȨḜȩḝẠẶạặ"},
    {u'\u0307',
     u"CĊcċEĖeėGĠgġIİZŻzżAȦaȧOȮoȯBḂbḃDḊdḋFḞfḟHḢhḣMṀmṁNṄnṅPṖpṗRṘrṙSṠsṡŚṤśṥŠṦšṧṢṨṣṩTṪtṫWẆ"
     u"wẇXẊxẋYẎyẏſẛ"},
    {u'\u0308',
     u"AÄEËIÏOÖUÜaäeëiïoöuüyÿYŸΙΪΥΫιϊυϋЕЁІЇеёіїАӒаӓӘӚәӛЖӜжӝЗӞзӟИӤиӥОӦоӧӨӪөӫЭӬэӭУӰуӱЧӴчӵ"
     u"ЫӸыӹHḦhḧÕṎõṏŪṺūṻWẄwẅXẌxẍtẗ"},
    {u'\u0309', u"AẢaảÂẨâẩĂẲăẳEẺeẻÊỂêểIỈiỉOỎoỏÔỔôổƠỞơởUỦuủƯỬưửYỶyỷ"},
    {u'\u030a', u"AÅaåUŮuůwẘyẙ"},
    {u'\u030b', u"OŐoőUŰuűУӲуӳ"},
    {u'\u030c', u"CČcčDĎdďEĚeěLĽlľNŇnňRŘrřSŠsšTŤtťZŽzžAǍaǎIǏiǐOǑoǒUǓuǔÜǙüǚGǦgǧKǨkǩƷǮʒǯjǰHȞhȟ"},
    {u'\u030f', u"AȀaȁEȄeȅIȈiȉOȌoȍRȐrȑUȔuȕѴѶѵѷ"},
    {u'\u0311', u"AȂaȃEȆeȇIȊiȋOȎoȏRȒrȓUȖuȗ"},
    {u'\u031b', u"OƠoơUƯuư"},
    {u'\u0323',
     u"BḄbḅDḌdḍHḤhḥKḲkḳLḶlḷMṂmṃNṆnṇRṚrṛSṢsṣTṬtṭVṾvṿWẈwẉZẒzẓAẠaạEẸeẹIỊiịOỌoọƠỢơợUỤuụƯỰưự"
     u"YỴyỵ"},
    {u'\u0324', u"UṲuṳ"},
    {u'\u0325', u"AḀaḁ"},
    {u'\u0326', u"SȘsșTȚtț"},
    {u'\u0327', u"CÇcçGĢgģKĶkķLĻlļNŅnņRŖrŗSŞsşTŢtţEȨeȩDḐdḑHḨhḩ"},
    {u'\u0328', u"AĄaąEĘeęIĮiįUŲuųOǪoǫ"},
    {u'\u032d', u"DḒdḓEḘeḙLḼlḽNṊnṋTṰtṱUṶuṷ"},
    {u'\u032e', u"HḪhḫ"},
    {u'\u0330', u"EḚeḛIḬiḭUṴuṵ"},
    {u'\u0331', u"BḆbḇDḎdḏKḴkḵLḺlḻNṈnṉRṞrṟTṮtṯZẔzẕhẖ"},
    {u'\u3099',
     u"かがきぎくぐけげこごさざしじすずせぜそぞただちぢつづてでとどはばひびふぶへべほぼうゔゝゞカガキギクグケ"
     u"ゲコゴサザシジスズセゼソゾタダチヂツヅテデトドハバヒビフブ"
     u"ヘベホボウヴワヷヰヸヱヹヲヺヽヾ"},
    {u'\u309a', u"はぱひぴふぷへぺほぽハパヒピフプヘペホポ"},
};

struct Composed {
  char32_t whole;
  char32_t letter;
  char32_t mark;
  bool operator<(const Composed& other) const { return whole < other.whole; }
};

const std::vector<Composed>& composedLetters() {
  static const std::vector<Composed> sorted = [] {
    std::vector<Composed> all;
    for (const auto& [mark, pairs] : kMarkedLetters) {
      for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) all.push_back({pairs[i + 1], pairs[i], mark});
    }
    std::sort(all.begin(), all.end());
    return all;
  }();
  return sorted;
}

bool isMark(char32_t c) { return (c >= 0x300 && c <= 0x36f) || c == 0x3099 || c == 0x309a; }

void addDecomposed(char32_t c, std::u32string& out) {
  // Hangul syllables are numbered by their first consonant, vowel and last consonant.
  constexpr char32_t kFirstSyllable = 0xac00;
  constexpr char32_t kSyllables = 11172;
  constexpr char32_t kVowels = 21;
  constexpr char32_t kLasts = 28;
  if (c >= kFirstSyllable && c < kFirstSyllable + kSyllables) {
    const char32_t number = c - kFirstSyllable;
    out += 0x1100 + number / (kVowels * kLasts);
    out += 0x1161 + number / kLasts % kVowels;
    if (number % kLasts != 0) out += 0x11a7 + number % kLasts;
    return;
  }
  const auto& letters = composedLetters();
  const auto found = std::lower_bound(letters.begin(), letters.end(), Composed{c, 0, 0});
  if (found == letters.end() || found->whole != c) {
    out += c;
    return;
  }
  addDecomposed(found->letter, out);  // which may have another mark
  out += found->mark;
}

// A byte that is no UTF-8 gets a value of its own, above all characters.
constexpr char32_t kBytes = 0x110000;

char32_t nextCodePoint(std::string_view utf8, std::size_t& at) {
  const auto first = static_cast<unsigned char>(utf8[at++]);
  const std::size_t more = first >= 0xc2 && first < 0xe0   ? 1
                           : first >= 0xe0 && first < 0xf0 ? 2
                           : first >= 0xf0 && first < 0xf5 ? 3
                                                           : 0;
  if (first < 0x80) return first;
  if (more == 0 || at + more > utf8.size()) return kBytes + first;
  char32_t code = first & (0x3fU >> more);
  for (std::size_t i = 0; i < more; ++i) {
    const auto byte = static_cast<unsigned char>(utf8[at + i]);
    if ((byte & 0xc0U) != 0x80U) return kBytes + first;
    code = code << 6U | (byte & 0x3fU);
  }
  at += more;
  return code;
}

void addUtf8(char32_t code, std::string& out) {
  const auto add = [&](char32_t byte) { out += static_cast<char>(byte); };
  if (code >= kBytes) {
    add(code - kBytes);
  } else if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xc0U | code >> 6U);
    add(0x80U | (code & 0x3fU));
  } else if (code < 0x10000) {
    add(0xe0U | code >> 12U);
    add(0x80U | (code >> 6U & 0x3fU));
    add(0x80U | (code & 0x3fU));
  } else {
    add(0xf0U | code >> 18U);
    add(0x80U | (code >> 12U & 0x3fU));
    add(0x80U | (code >> 6U & 0x3fU));
    add(0x80U | (code & 0x3fU));
  }
}

// Capital letters of two UTF-8 bytes: the Latin ones with accents, Greek and Cyrillic.
unsigned foldCodePoint(unsigned code) {
  if (code >= 0xc0 && code <= 0xde && code != 0xd7) return code + 0x20;
  // Capitals of the extended Latin letters are even in some stretches and odd in others; 0x130 and 0x131 are
  // no pair.
  if ((code >= 0x100 && code <= 0x12f) || (code >= 0x132 && code <= 0x137)) return code | 1U;
  if (code >= 0x139 && code <= 0x148) return code + (code & 1U);
  if (code >= 0x14a && code <= 0x177) return code | 1U;
  if (code == 0x178) return 0xff;
  if (code >= 0x179 && code <= 0x17e) return code + (code & 1U);
  if (code == 0x386) return 0x3ac;
  if (code >= 0x388 && code <= 0x38a) return code + 0x25;
  if (code == 0x38c) return 0x3cc;
  if (code == 0x38e || code == 0x38f) return code + 0x3f;
  if (code >= 0x391 && code <= 0x3a9 && code != 0x3a2) return code + 0x20;
  if (code >= 0x400 && code <= 0x40f) return code + 0x50;
  if (code >= 0x410 && code <= 0x42f) return code + 0x20;
  return code;
}

}  // namespace

std::string foldCase(std::string_view utf8) {
  std::string folded;
  folded.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    if (byte < 0x80) {
      folded += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 0x20 : byte);
    } else if (byte >= 0xc2 && byte < 0xe0 && i + 1 < utf8.size()) {
      const unsigned code = (byte & 0x1fU) << 6U | (static_cast<unsigned char>(utf8[++i]) & 0x3fU);
      const unsigned lower = foldCodePoint(code);
      folded += static_cast<char>(0xc0U | lower >> 6U);
      folded += static_cast<char>(0x80U | (lower & 0x3fU));
    } else {
      folded += utf8[i];
    }
  }
  return folded;
}

std::string nameKey(std::string_view utf8) {
  std::u32string codes;
  for (std::size_t i = 0; i < utf8.size();) addDecomposed(nextCodePoint(utf8, i), codes);
  // Several marks of one letter may be written in any order; one order is as good as another to compare by.
  for (auto mark = codes.begin(); mark != codes.end();) {
    mark = std::find_if(mark, codes.end(), isMark);
    const auto end = std::find_if_not(mark, codes.end(), isMark);
    std::sort(mark, end);
    mark = end;
  }
  std::string key;
  for (const char32_t code : codes) addUtf8(code, key);
  key = foldCase(key);
  const auto last = key.find_last_not_of(std::string_view(" \t\r\n\0", 5));
  key.resize(last == std::string::npos ? 0 : last + 1);
  return key;
}

}  // namespace jttk
