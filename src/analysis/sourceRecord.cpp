#include "analysis/sourceRecord.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <set>

#include "analysis/partFiles.h"
#include "analysis/soundChoice.h"
#include "classShared/TextAdditions.h"
#include "ffmpeg/reportNumbers.h"
#include "movie/timeCode.h"

namespace tessarin {

namespace {

// Longer than what ffmpeg says of any source, shorter than what would be of use to anybody.
constexpr std::size_t longestWord = 200;
constexpr std::size_t longestText = 4096;
constexpr std::size_t longestList = 10000;  // chapters, remarks
constexpr std::size_t longestNumber = 9;    // digits

// Fields a second, of twice as many as pictures.
constexpr NumberRange fieldRate{ReportRange::pictureRate.least, 2 * ReportRange::pictureRate.most};
constexpr NumberRange milliseconds{1000 * ReportRange::time.least, 1000 * ReportRange::time.most};
constexpr NumberRange behindStart{0, ReportRange::time.most};  // seconds
constexpr NumberRange reading{1, 1e12};                        // bytes or microseconds
constexpr NumberRange flag{0, 1};
constexpr NumberRange place{-1, 1000};  // in a table; it is compared with others alone

constexpr std::array<std::string_view, 5> recorders = {"card", "beside", "stream", "container",
                                                       "file"};
constexpr std::array<std::string_view, 9> remarkKeys = {
    "remark_soundUnreadable",   "remark_programs",         "remark_doubtfulPart",
    "remark_soundFilesMissing", "remark_soundFilesByName", "remark_timeUnread",
    "remark_laterPart",         "remark_partsUnknown",     "remark_unsplitTape"};
constexpr std::array allFields = {Fields::progressive, Fields::topFirst, Fields::bottomFirst};

// ---- Texts that a source can have

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Printable ASCII without blanks.
bool isWord(std::string_view text) {
  return !text.empty() && text.size() <= longestWord &&
         std::all_of(text.begin(), text.end(), [](char byte) { return byte > ' ' && byte <= '~'; });
}

// UTF-8 without control characters.
bool isText(std::string_view text) {
  const auto isControl = [](char byte) {
    return (byte >= 0 && byte < ' ' && byte != '\t') || byte == 0x7F;
  };
  return text.size() <= longestText && isUtf8(text) &&
         std::none_of(text.begin(), text.end(), isControl);
}

// "16:9"
bool isRatio(std::string_view text) {
  return ratioText(text) == text;
}

// "2010-12-24 14:05:33", perhaps with " +0100" behind it. It becomes part of a movie's name: every
// character counts.
bool isMoment(std::string_view text) {
  const auto hasShape = [text](std::string_view shape) {
    return text.size() == shape.size() &&
           std::equal(text.begin(), text.end(), shape.begin(), [](char byte, char wanted) {
             return wanted == '0'   ? byte >= '0' && byte <= '9'
                    : wanted == '+' ? byte == '+' || byte == '-'
                                    : byte == wanted;
           });
  };
  return hasShape("0000-00-00 00:00:00") || hasShape("0000-00-00 00:00:00 +0000");
}

// A format that ffmpeg is told of.
bool isToldFormat(std::string_view text) {
  return text == "dv" || text == "mpeg" || text == "mpegvideo";
}

bool isFieldOrder(std::string_view text) {
  return text == fieldsKey(Fields::topFirst) || text == fieldsKey(Fields::bottomFirst);
}

using TextRule = bool (*)(std::string_view text);

// ---- Values: taken when they are good, else nothing changes and the answer is false

bool take(const Value& value, std::string& text, TextRule isGood) {
  const std::string* content = value.textContent();
  if (content == nullptr || !isGood(*content))
    return false;
  text = *content;
  return true;
}

bool take(const Value& value, std::optional<double>& number, NumberRange range) {
  const auto told = value.isBoolean() ? std::nullopt : value.number();
  if (!told || !isWithin(*told, range))
    return false;
  number = told;
  return true;
}

bool take(const Value& value, std::optional<std::int64_t>& number, NumberRange range) {
  std::optional<double> told;
  if (!take(value, told, range) || std::trunc(*told) != *told)
    return false;
  number = value.integer();
  return number.has_value();
}

bool take(const Value& value, std::int64_t& number, NumberRange range) {
  std::optional<std::int64_t> told;
  if (!take(value, told, range))
    return false;
  number = *told;
  return true;
}

// A flag, which is absent where it is not set, or a choice.
template <class Flag>
bool take(const Value& value, Flag& isSo, NumberRange range) {
  std::optional<std::int64_t> told;
  if (!take(value, told, range))
    return false;
  isSo = *told != 0;
  return true;
}

bool take(const Value& value, std::optional<Fields>& fields, TextRule isGood) {
  std::string text;
  if (!take(value, text, isGood))
    return false;
  fields = Fields::interlaced;
  for (const Fields known : allFields)
    if (text == fieldsKey(known))
      fields = known;
  return true;
}

bool take(const Value& value, std::optional<RecordedBy>& recorder, TextRule isGood) {
  std::string text;
  if (take(value, text, isGood))
    recorder = recordedByOfWord(text);
  return recorder.has_value();
}

bool take(const Value& value, SlowSound& sound, TextRule isGood) {
  std::string word;
  const auto known = take(value, word, isGood) ? slowSoundOfWord(word) : std::nullopt;
  sound = known.value_or(sound);
  return known.has_value();
}

bool take(const Value& value, double& number, NumberRange range) {
  std::optional<double> told;
  if (!take(value, told, range))
    return false;
  number = *told;
  return true;
}

// "KEY NUMBER"
bool take(const Value& value, Source::Remark& remark, NumberRange range) {
  const std::string* text = value.textContent();
  const std::string_view number = text ? textAfter(*text, " ").value_or("") : "";
  if (!isDigits(number) || number.size() > longestNumber)
    return false;
  const auto key = std::find(remarkKeys.begin(), remarkKeys.end(), textUpTo(*text, " "));
  const auto told = wholeNumber(number, range);
  if (key == remarkKeys.end() || !told)
    return false;
  remark = {static_cast<Source::Remark::Kind>(key - remarkKeys.begin()), *told};
  return true;
}

constexpr NumberRange fileSize{1, 1e15};
constexpr NumberRange changeTime{1, 1e11};  // seconds

// "BYTES@CHANGED", or "BYTES" alone
template <class File>
bool takeMark(std::string_view text, File& file) {
  const std::string_view bytes = textUpTo(text, "@");
  const std::string_view changed = textAfter(text, "@").value_or("0");
  const auto size = isDigits(bytes) ? wholeNumber(bytes, fileSize) : std::nullopt;
  const auto time = isDigits(changed) ? wholeNumber(changed, {0, changeTime.most}) : std::nullopt;
  if (!size || !time)
    return false;
  file.bytes = *size;
  file.changed = *time;
  return true;
}

// "BEGIN BYTES@CHANGED PATH", the beginning in milliseconds
bool take(const Value& value, Source::Part& part, NumberRange range) {
  const std::string* text = value.textContent();
  const std::string_view begin = text ? textUpTo(*text, " ") : "";
  const std::string_view rest = text ? textAfter(*text, " ").value_or("") : "";
  const std::string_view path = textAfter(rest, " ").value_or("");
  if (!isDigits(begin) || !isStoredPath(path))
    return false;
  const auto toldBegin = wholeNumber(begin, {1000 * range.least, 1000 * range.most});
  if (!toldBegin || !takeMark(textUpTo(rest, " "), part))
    return false;
  part.begin = static_cast<double>(*toldBegin) / 1000;
  part.path = path;
  return true;
}

// "BYTES@CHANGED PATH"
bool take(const Value& value, Source::SoundFile& file, NumberRange) {
  const std::string* text = value.textContent();
  const std::string_view path = text ? textAfter(*text, " ").value_or("") : "";
  if (!isStoredPath(path) || !takeMark(textUpTo(*text, " "), file))
    return false;
  file.path = path;
  return true;
}

template <class Item>
bool take(const Value& value, std::vector<Item>& items, NumberRange range) {
  const List* list = value.list();
  if (list == nullptr || list->size() > longestList)
    return false;
  items.resize(list->size());
  return std::equal(list->begin(), list->end(), items.begin(),
                    [range](const Value& each, Item& item) { return take(each, item, range); });
}

// ---- And the other way; nothing of what is not known

std::optional<Value> valueOf(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional<Value>(text);
}

template <class Number>
std::optional<Value> valueOf(const std::optional<Number>& number) {
  return number ? std::optional<Value>(*number) : std::nullopt;
}

std::optional<Value> valueOf(const std::optional<bool>& choice) {
  return choice ? std::optional<Value>(*choice ? 1 : 0) : std::nullopt;
}

std::optional<Value> valueOf(const std::optional<Fields>& fields) {
  return fields ? std::optional<Value>(fieldsKey(*fields)) : std::nullopt;
}

std::optional<Value> valueOf(const std::optional<RecordedBy>& recorder) {
  return recorder ? std::optional<Value>(recorders[static_cast<std::size_t>(*recorder)])
                  : std::nullopt;
}

std::optional<Value> valueOf(SlowSound sound) {
  return sound == SlowSound::asRecorded
             ? std::nullopt
             : std::optional<Value>(slowSoundWords[static_cast<std::size_t>(sound)]);
}

std::optional<Value> valueOf(bool isSo) {
  return isSo ? std::optional<Value>(1) : std::nullopt;
}

std::optional<Value> valueOf(std::int64_t number) {
  return number != 0 ? std::optional<Value>(number) : std::nullopt;
}

Value itemOf(double number) {
  return number;
}

Value itemOf(const Source::Remark& remark) {
  return fmt::format("{} {}", remarkKey(remark.kind), remark.number);
}

template <class File>
std::string markOf(const File& file) {
  return file.changed == 0 ? fmt::format("{}", file.bytes)
                           : fmt::format("{}@{}", file.bytes, file.changed);
}

Value itemOf(const Source::Part& part) {
  return fmt::format("{:.0f} {} {}", part.begin * 1000, markOf(part), part.path);
}

Value itemOf(const Source::SoundFile& file) {
  return fmt::format("{} {}", markOf(file), file.path);
}

template <class Item>
std::optional<Value> valueOf(const std::vector<Item>& items) {
  List list;
  for (const Item& item : items)
    list.push_back(itemOf(item));
  return list.empty() ? std::nullopt : std::optional<Value>(std::move(list));
}

// ---- Every key, what its value means, and what it can be

// The keys of a record: those of the file, or of a stream.
class Keys {
 public:
  void toStream(char kind, int index) {
    kind_ = kind;
    index_ = index;
  }
  std::string of(std::string_view field) const {
    return kind_ == 0 ? std::string(field) : fmt::format("{}{}_{}", kind_, index_, field);
  }
  int index() const { return index_; }

 private:
  char kind_ = 0;
  int index_ = 0;
};

template <class Stream, class Way>
void walkStream(Stream& stream, Way& way) {
  way("id", stream.id, ReportRange::streamNumber);
  way("lang", stream.language, isText);
  way("codec", stream.codec, isWord);
  way("bitrate", stream.bitRate, ReportRange::bitRate);
}

constexpr auto walkPictures = [](auto& pictures, auto& way) {
  walkStream(pictures, way);
  way("fps", pictures.rate, fieldRate);
  way("tbc", pictures.codecClock, ReportRange::codecClock);
  way("width", pictures.width, ReportRange::pictureSide);
  way("height", pictures.height, ReportRange::pictureSide);
  way("par", pictures.pixelShape, isRatio);
  way("dar", pictures.shape, isRatio);
  way("chroma", pictures.format, isWord);
  way("fields", pictures.fields, isText);
  way("fieldsClaim", pictures.claim, isFieldOrder);
  way("primaries", pictures.colours.primaries, isPrimaries);
  way("transfer", pictures.colours.transfer, isTransfer);
  way("matrix", pictures.colours.matrix, isMatrix);
  way("begin", pictures.begin, ReportRange::time);
  way("rotation", pictures.rotation, ReportRange::rotation);
  way.keys.toStream('w', way.keys.index());
  way("par", pictures.containerPixelShape, isRatio);
  way("dar", pictures.containerShape, isRatio);
};

constexpr auto walkSound = [](auto& sound, auto& way) {
  walkStream(sound, way);
  way("rate", sound.rate, ReportRange::soundRate);
  way("channels", sound.channels, ReportRange::channels);
  way("title", sound.title, isText);
  way("force", sound.isMisread, flag);
};

constexpr auto walkSubtitle = [](auto& subtitle, auto& way) {
  walkStream(subtitle, way);
  way("lang+", subtitle.title, isText);
};

template <class AnySource, class Way>
void walk(AnySource& source, Way& way) {
  way("srcPathStr", source.path, isStoredPath);
  way("parts", source.furtherParts, ReportRange::duration);
  way("soundFiles", source.soundFiles, fileSize);
  way("intraFailure", source.hasOddThumbnail, flag);
  way("prefSurrond", source.keepsSurround, flag);
  way("prefSound", source.soundChoice, isSoundChoice);
  way("prefSlowSound", source.slowSound, isWord);
  way("sizeOutPrevious", source.sizeOutPrevious, place);
  way("softPrevious", source.softPrevious, place);
  way("wrapper", source.container, isWord);
  way("w_bytes", source.bytes, isWord);
  way("w_changed", source.changed, changeTime);
  way("w_duration", source.duration, ReportRange::duration);
  way("w_seconds", source.seconds, ReportRange::duration);
  way("w_offset", source.start, ReportRange::time);
  way("w_bitrate", source.bitRate, ReportRange::bitRate);
  way("chapters", source.chapters, ReportRange::duration);
  way("intraOffset", source.firstKeyFrame, behindStart);
  way("w_force", source.toldFormat, isToldFormat);
  way("w_probesize", source.probeSize, reading);
  way("w_analyzeduration", source.analyzeDuration, reading);
  way("w_map", source.isMapped, flag);
  way("recorded", source.recorded, isMoment);
  way("recordedBy", source.recordedBy, isWord);
  way("recordedZone", source.recording.zone, isZone);
  way("timeCode", source.recording.timeCode, isTimeCode);
  way("cameraMake", source.recording.make, isCameraName);
  way("cameraModel", source.recording.model, isCameraName);
  way("place", source.recording.place, isPlace);
  way("clipTitle", source.recording.title, isCameraName);
  way("remarks", source.remarks, ReportRange::streamNumber);
  way("v_offsetMs", source.pictureLead, milliseconds);
  way.offsets(source.offsets);
  way.keys.toStream('v', 0);
  walkPictures(source.pictures, way);
  way.keys.toStream('a', 0);
  walkSound(source.sound, way);
  way.streams('v', 1, source.otherPictures, walkPictures);
  way.streams('a', 1, source.otherSounds, walkSound);
  way.streams('s', 0, source.subtitles, walkSubtitle);
}

constexpr std::string_view keyOffsetShown = "_offsetMs";
constexpr std::string_view keyOffsetDecoded = "_offsetDts";

// From a record.
struct In {
  const Dico& record;
  Keys keys = {};
  bool isGood = true;
  int found = 0;

  template <class Member, class Rule>
  void operator()(std::string_view field, Member& member, const Rule& rule) {
    const Value* value = record.find(keys.of(field));
    if (value == nullptr)
      return;
    ++found;
    isGood = take(*value, member, rule) && isGood;
  }
  // They are counted without a gap. One of which nothing is said but empty texts is none.
  template <class Stream, class Walk>
  void streams(char kind, int index, std::vector<Stream>& streams, const Walk& walkOne) {
    for (int before = -1; found != before; ++index) {
      before = found;
      keys.toStream(kind, index);
      Stream stream;
      walkOne(stream, *this);
      if (stream != Stream())
        streams.push_back(std::move(stream));
    }
  }
  template <class Offsets>
  void offsets(Offsets& offsets) {
    constexpr std::size_t longestId =
        3;  // digits; ffmpeg opens no file with more than 1000 streams
    for (const auto& [key, value] : record) {
      if (key.empty())
        continue;
      const std::string_view id = textUpTo(std::string_view(key).substr(1), "_");
      const bool isShown = key.ends_with(keyOffsetShown);
      const StreamKind kind{key.front()};
      if ((!isShown && !key.ends_with(keyOffsetDecoded)) || !isDigits(id) ||
          id.size() > longestId ||
          (kind != StreamKind::video && kind != StreamKind::audio && kind != StreamKind::subtitle))
        continue;
      Source::Offset& offset = offsets[{kind, static_cast<int>(leadingInteger(id))}];
      isGood = take(value, isShown ? offset.shown : offset.decoded, milliseconds) && isGood;
    }
  }
};

// To a record, of all values or the good ones.
struct Out {
  bool isChecked;
  Dico record = {};
  Keys keys = {};

  template <class Member, class Rule>
  void operator()(std::string_view field, const Member& member, const Rule& rule) {
    set(keys.of(field), member, rule);
  }
  template <class Member, class Rule>
  void set(const std::string& key, const Member& member, const Rule& rule) {
    auto value = valueOf(member);
    Member same;
    if (value && (!isChecked || take(*value, same, rule)))
      record.set(key, *std::move(value));
  }
  template <class Stream, class Walk>
  void streams(char kind, int index, const std::vector<Stream>& streams, const Walk& walkOne) {
    for (const Stream& stream : streams) {
      keys.toStream(kind, index++);
      walkOne(stream, *this);
    }
  }
  template <class Offsets>
  void offsets(const Offsets& offsets) {
    for (const auto& [stream, offset] : offsets) {
      const std::string key = fmt::format("{}{}", static_cast<char>(stream.first), stream.second);
      set(key + std::string(keyOffsetShown), offset.shown, milliseconds);
      set(key + std::string(keyOffsetDecoded), offset.decoded, milliseconds);
    }
  }
};

// Whether cards have parts of a recording in these folders: in one; of P2, in that of each card; of
// XDCAM EX in one for each.
bool arePartFolders(const std::string& folder, const std::string& other) {
  const auto isCalled = [](const std::string& path, std::string_view name) {
    return equalIgnoringCase(fileName(path), name);
  };
  return folder == other || (isCalled(folder, "VIDEO") && isCalled(other, "VIDEO")) ||
         (parentFolder(folder) == parentFolder(other) && isCalled(parentFolder(folder), "CLPR"));
}

// Each is there once; nothing else is ever read as one.
bool areParts(const Source& source) {
  std::set<std::string_view> known{source.path};
  const std::string folder = parentFolder(source.path);
  double begin = 0;
  for (const Source::Part& part : source.furtherParts) {
    if (!mayBePart(part.path) || !arePartFolders(folder, parentFolder(part.path)) ||
        !known.insert(part.path).second || part.begin < begin)
      return false;
    begin = part.begin;
  }
  static constexpr std::array<std::string_view, 5> formats{"mpegts", "mpeg", "mov", "dv", "mxf"};
  return source.furtherParts.empty() ||
         (source.furtherParts.size() <= mostFurtherParts &&
          std::find(formats.begin(), formats.end(), firstContainer(source)) != formats.end());
}

// Files with sound lie in the folder AUDIO beside that of the pictures, each once, the same for
// each part, and there is no more than a sound for each.
bool areSoundFiles(const Source& source) {
  const std::vector<std::string> parts = partsOf(source);
  const std::size_t channels = source.soundFiles.size() / parts.size();
  std::set<std::string_view> known;
  for (const Source::SoundFile& sound : source.soundFiles) {
    const std::string folder = parentFolder(sound.path);
    const std::size_t part = known.size() / std::max<std::size_t>(channels, 1);
    if (part >= parts.size() || !hasPathExtension(sound.path, "mxf") ||
        !equalIgnoringCase(fileName(folder), "AUDIO") ||
        parentFolder(folder) != parentFolder(parentFolder(parts[part])) ||
        !known.insert(sound.path).second)
      return false;
  }
  return known.empty() || (source.pictures.id == 0 && channels >= soundsOf(source).size() &&
                           known.size() == channels * parts.size());
}

Dico recordOf(const Source& source, bool isChecked) {
  Out out{isChecked};
  walk(source, out);
  // A report tells whole seconds.
  if (const auto duration = out.record.number("w_duration");
      duration && std::trunc(*duration) == *duration && isWithin(*duration, ReportRange::duration))
    out.record.set("w_duration", static_cast<std::int64_t>(*duration));
  return std::move(out.record);
}

}  // namespace

Dico recordOfSource(const Source& source) {
  Dico record = recordOf(source, false);
  if (!source.thumbnail.empty())
    record.set("imgPathStr", source.thumbnail);
  return record;
}

Dico storedSource(const Source& source) {
  return recordOf(source, true);
}

std::optional<Source> sourceOfRecord(const Dico& record) {
  Source source;
  In in{record};
  walk(source, in);
  return in.isGood && areParts(source) && areSoundFiles(source) ? std::optional(std::move(source))
                                                                : std::nullopt;
}

bool isStoredPath(std::string_view path) {
  return path.starts_with('/') && path.size() < PATH_MAX && path.find('\0') == path.npos;
}

std::string_view remarkKey(Source::Remark::Kind kind) {
  return remarkKeys[static_cast<std::size_t>(kind)];
}

std::optional<RecordedBy> recordedByOfWord(std::string_view word) {
  const auto known = std::find(recorders.begin(), recorders.end(), word);
  return known == recorders.end()
             ? std::nullopt
             : std::optional(static_cast<RecordedBy>(known - recorders.begin()));
}

}  // namespace tessarin
