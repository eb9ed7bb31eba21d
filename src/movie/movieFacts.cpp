#include "movie/movieFacts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "movie/atomTree.h"
#include "movie/timeCode.h"

namespace tessarin {

namespace {

// ---- Headers: all begin with a version, and count wider in the second one

unsigned widthOf(const OwnedAtom& header) {
  return numberAt(header.content, 0, 1) == 1 ? 8 : 4;
}

void putMade(OwnedAtom* header, std::uint64_t made) {
  if (header == nullptr)
    return;
  const unsigned width = widthOf(*header);
  putNumber(header->content, 4, width, made);
  putNumber(header->content, 4 + width, width, made);  // changed
}

// Of "mvhd" and "mdhd".
std::uint64_t scaleOf(const OwnedAtom& header) {
  return numberAt(header.content, 4 + std::size_t{2} * widthOf(header), 4);
}

std::size_t trackIdAt(const OwnedAtom& header) {
  return 4 + std::size_t{2} * widthOf(header);
}

std::uint64_t durationOfTrack(const OwnedAtom& header) {
  return numberAt(header.content, trackIdAt(header) + 8, widthOf(header));
}

std::string_view kindOf(const OwnedAtom& track) {
  const OwnedAtom* media = track.part("mdia");
  const OwnedAtom* handler = media != nullptr ? media->part("hdlr") : nullptr;
  return handler != nullptr && handler->content.size() >= 12
             ? std::string_view(handler->content).substr(8, 4)
             : std::string_view();
}

// ---- The rate of the pictures

struct Rate {
  std::uint32_t perSecond = 25;
  std::uint32_t perFrame = 1;
  double value() const { return static_cast<double>(perSecond) / perFrame; }
};

// Movies of streams whose clock is too coarse, and those of telephones, have pictures of unlike
// lengths.
Rate nearUsualRate(double average) {
  constexpr std::array<Rate, 9> usual = {{{24000, 1001},
                                          {24, 1},
                                          {25, 1},
                                          {30000, 1001},
                                          {30, 1},
                                          {48, 1},
                                          {50, 1},
                                          {60000, 1001},
                                          {60, 1}}};
  const auto nearest =
      std::min_element(usual.begin(), usual.end(), [average](const Rate& one, const Rate& other) {
        return std::abs(one.value() - average) < std::abs(other.value() - average);
      });
  constexpr double slack = 0.01;
  if (std::abs(nearest->value() - average) < slack * average)
    return *nearest;
  return {static_cast<std::uint32_t>(std::lround(average * 1000)), 1000};
}

std::optional<Rate> rateOf(const OwnedAtom& track) {
  const OwnedAtom* media = track.part("mdia");
  const OwnedAtom* header = media != nullptr ? media->part("mdhd") : nullptr;
  const OwnedAtom* information = media != nullptr ? media->part("minf") : nullptr;
  const OwnedAtom* tables = information != nullptr ? information->part("stbl") : nullptr;
  const OwnedAtom* times = tables != nullptr ? tables->part("stts") : nullptr;
  if (header == nullptr || times == nullptr)
    return std::nullopt;
  const std::uint64_t scale = scaleOf(*header);
  std::uint64_t pictures = 0;
  double ticks = 0;
  const std::uint64_t first = numberAt(times->content, headSize + 4, 4);
  bool isEven = true;
  for (std::size_t at = headSize; at + headSize <= times->content.size(); at += headSize) {
    const std::uint64_t count = numberAt(times->content, at, 4);
    const std::uint64_t each = numberAt(times->content, at + 4, 4);
    // The length of the last picture is anybody's guess.
    const bool isLast = at + 2 * headSize > times->content.size() && count == 1 && pictures > 0;
    if (isLast)
      break;
    isEven = isEven && each == first;
    pictures += count;
    ticks += static_cast<double>(count) * static_cast<double>(each);
  }
  if (pictures == 0 || ticks <= 0 || scale == 0 || scale > 0x7FFFFFFF)
    return std::nullopt;
  const double average = static_cast<double>(pictures) * static_cast<double>(scale) / ticks;
  constexpr double most = 1000;
  if (average > most || average < 1 / most)
    return std::nullopt;
  return isEven ? Rate{static_cast<std::uint32_t>(scale), static_cast<std::uint32_t>(first)}
                : nearUsualRate(average);
}

// ---- Texts

// What a movie of ours may say twice: as user data, and under a key.
struct Words {
  std::string_view kind;
  std::string_view key;
  const std::string* text;
};

std::array<Words, 4> wordsOf(const MovieFacts& facts) {
  using namespace std::string_view_literals;
  return {{{"\251day"sv, "com.apple.quicktime.creationdate", &facts.date},
           {"\251mak"sv, "com.apple.quicktime.make", &facts.make},
           {"\251mod"sv, "com.apple.quicktime.model", &facts.model},
           {"\251xyz"sv, "com.apple.quicktime.location.ISO6709", &facts.place}}};
}

// More than anybody writes, and less than 16 bits can count.
std::string fitting(const std::string& text) {
  constexpr std::size_t mostBytes = 4096;
  return text.substr(0, mostBytes);
}

void putUserData(std::vector<OwnedAtom>& index, const MovieFacts& facts) {
  constexpr std::uint64_t noLanguage = 0x55C4;  // "und", five bits a letter
  const auto old = std::find_if(index.begin(), index.end(),
                                [](const OwnedAtom& atom) { return atom.type == "udta"; });
  std::string_view given = old != index.end() ? std::string_view(old->content) : "";
  auto entries = atomsOf(given);
  // Some lists of user data end with a zero.
  if (!entries && given.ends_with(std::string(4, '\0')))
    entries = atomsOf(given.substr(0, given.size() - 4));
  if (!entries)
    return;
  for (const Words& words : wordsOf(facts)) {
    if (words.text->empty())
      continue;
    std::erase_if(*entries, [&](const OwnedAtom& entry) { return entry.type == words.kind; });
    const std::string text = fitting(*words.text);
    entries->push_back(
        {std::string(words.kind), bigEndian(text.size(), 2) + bigEndian(noLanguage, 2) + text, {}});
  }
  if (old != index.end())
    old->content = bytesOf(*entries);
  else if (!entries->empty())
    index.push_back({"udta", bytesOf(*entries), {}});
}

void putKeys(std::vector<OwnedAtom>& index, const MovieFacts& facts) {
  constexpr std::uint64_t isUtf8 = 1;
  std::string keys;
  std::string values;
  std::uint64_t count = 0;
  for (const Words& words : wordsOf(facts)) {
    if (words.text->empty())
      continue;
    keys += atomBytes("mdta", words.key);
    values +=
        atomBytes(bigEndian(++count, 4),
                  atomBytes("data", bigEndian(isUtf8, 4) + bigEndian(0, 4) + fitting(*words.text)));
  }
  if (count == 0)
    return;
  std::erase_if(index, [](const OwnedAtom& atom) { return atom.type == "meta"; });
  const std::string handler = std::string(8, '\0') + "mdta" + std::string(13, '\0');
  index.push_back({"meta",
                   atomBytes("hdlr", handler) +
                       atomBytes("keys", bigEndian(0, 4) + bigEndian(count, 4) + keys) +
                       atomBytes("ilst", values),
                   {}});
}

// ---- The time code

bool isTimeCodeTrack(const OwnedAtom& atom) {
  return atom.type == "trak" && kindOf(atom) == "tmcd";
}

// The track of the pictures refers to the one that numbers them.
void refer(OwnedAtom& pictures, std::uint32_t id) {
  OwnedAtom* holder = pictures.part("tref");
  if (holder == nullptr) {
    const auto media = std::find_if(pictures.parts.begin(), pictures.parts.end(),
                                    [](const OwnedAtom& part) { return part.type == "mdia"; });
    holder = &*pictures.parts.insert(media, OwnedAtom{"tref", {}, {}});
  }
  auto references = atomsOf(holder->content).value_or(std::vector<OwnedAtom>());
  std::erase_if(references, [](const OwnedAtom& each) { return each.type == "tmcd"; });
  references.push_back({"tmcd", bigEndian(id, 4), {}});
  holder->content = bytesOf(references);
}

// The bytes that the track's one sample is; "" when there is no time code for such a movie.
std::string putTimeCode(std::vector<OwnedAtom>& index, const MovieFacts& facts,
                        std::uint64_t position) {
  std::uint64_t highest = 0;
  OwnedAtom* movieHeader = nullptr;
  for (OwnedAtom& atom : index) {
    if (atom.type == "mvhd")
      movieHeader = &atom;
    const OwnedAtom* header = atom.part("tkhd");
    if (header != nullptr)
      highest = std::max(highest, numberAt(header->content, trackIdAt(*header), 4));
  }
  const auto pictures = std::find_if(index.begin(), index.end(), [](const OwnedAtom& atom) {
    return atom.type == "trak" && kindOf(atom) == "vide" && atom.part("tkhd") != nullptr;
  });
  const std::uint64_t scale = movieHeader != nullptr ? scaleOf(*movieHeader) : 0;
  auto rate = pictures != index.end() ? rateOf(*pictures) : std::nullopt;
  if (!rate || scale == 0 || highest >= 0x7FFFFFFF)
    return {};
  auto code = timeCodeAtRate(facts.timeCode, facts.timeCodeRate, rate->value());
  if (!code && std::none_of(index.begin(), index.end(), isTimeCodeTrack))
    code = timeCodeOfDay(facts.timeOfDay, rate->value());
  if (!code)
    return {};
  TimeCodePlace place;
  place.id = static_cast<std::uint32_t>(highest + 1);
  place.position = position;
  place.movieDuration = durationOfTrack(*pictures->part("tkhd"));
  const double seconds = static_cast<double>(place.movieDuration) / static_cast<double>(scale);
  constexpr double most = 0xFFFFFFFF;
  if (seconds * rate->perSecond > most)
    rate = nearUsualRate(rate->value());
  if (seconds * rate->perSecond > most)
    return {};
  place.perSecond = rate->perSecond;
  place.perFrame = rate->perFrame;
  place.duration = static_cast<std::uint64_t>(seconds * rate->perSecond);
  auto track = atomsOf(timeCodeTrack(*code, place));
  refer(*pictures, place.id);
  putNumber(movieHeader->content, movieHeader->content.size() - 4, 4, place.id + 1);
  std::erase_if(index, isTimeCodeTrack);
  auto behind = index.begin();
  for (auto each = index.begin(); each != index.end(); ++each)
    if (each->type == "trak")
      behind = each + 1;
  index.insert(behind, std::move(track->front()));
  return timeCodeSample(*code);
}

}  // namespace

std::optional<IndexChange> indexWithFacts(const MovieBytes& movie, const MovieFacts& facts) {
  auto index = atomsOf(movie.index);
  if (!index || facts == MovieFacts())
    return std::nullopt;
  const auto isOdd = [](const OwnedAtom& atom) {
    constexpr std::size_t leastHeader = 100;
    return atom.type == "mvex" || (atom.type == "mvhd" && atom.content.size() < leastHeader);
  };
  if (std::any_of(index->begin(), index->end(), isOdd))
    return std::nullopt;
  IndexChange change;
  change.furtherSamples = putTimeCode(*index, facts, movie.furtherSamplesAt);
  if (facts.made)
    for (OwnedAtom& atom : *index) {
      OwnedAtom* media = atom.part("mdia");
      putMade(atom.type == "mvhd" ? &atom : atom.part("tkhd"), *facts.made);
      putMade(media != nullptr ? media->part("mdhd") : nullptr, *facts.made);
    }
  putUserData(*index, facts);
  putKeys(*index, facts);
  change.index = bytesOf(*index);
  return change;
}

Outcome<bool> tellFacts(const std::string& path, const MovieFacts& facts) {
  return rewriteIndex(path,
                      [&facts](const MovieBytes& movie) { return indexWithFacts(movie, facts); });
}

}  // namespace tessarin
