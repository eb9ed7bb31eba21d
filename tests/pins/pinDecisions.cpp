// What the pure decisions answer, for every input that matters to them, as one checksum a group:
// whoever moves them about sees whether an answer has changed with it.
//
//   pinDecisions FILE         compares with the checksums of the file
//   pinDecisions --write FILE replaces them, when a change was meant
//
// Texts of the user do not count (keys stand for them), nor does the machine. Exit status 1 names
// the groups that differ.
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/codecInventory.h"
#include "analysis/fieldOrder.h"
#include "analysis/sourceRecord.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/storedRow.h"
#include "encoding/Row.h"
#include "encoding/arithmetic.h"
#include "encoding/naming.h"
#include "encoding/outputName.h"
#include "encoding/outputPreset.h"
#include "encoding/recordingDate.h"
#include "ffmpeg/proresFlavours.h"
#include "jobs/exportCommands.h"
#include "jobs/forecast.h"
#include "jobs/newRow.h"
#include "jobs/rowChoices.h"
#include "platform/Bundle.h"
#include "platform/propertyList.h"
#include "support/places.h"
#include "tools/movtool/ExportSettings.h"
#include "tools/movtool/exportPlan.h"
#include "utils/files.h"
#include "utils/text.h"
#include "utils/times.h"

namespace tessarin {
namespace {

// FNV-1a of 64 bits over the answers, each with a line end.
class Pin {
 public:
  void add(std::string_view answer) {
    for (const char byte : answer)
      take(static_cast<unsigned char>(byte));
    take('\n');
    ++answers_;
  }
  template <class... Arguments>
  void add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    text_.clear();
    fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
    add(std::string_view(text_));
  }
  void add(const std::vector<std::string>& answers) { add(joinTexts(answers, "\t")); }
  std::string checksum() const { return fmt::format("{:016x} {}", hash_, answers_); }

 private:
  void take(unsigned char byte) { hash_ = (hash_ ^ byte) * 0x100000001b3; }

  std::uint64_t hash_ = 0xcbf29ce484222325;
  std::size_t answers_ = 0;
  std::string text_;
};

// ---- Inputs

constexpr double unknown = -12345;  // leaves the key out

const std::vector<double> rates = {unknown, 0,    7.5,   12,    15,   23.976, 24,  25,
                                   29.97,   30,   31.0,  31.01, 47.4, 47.5,   48,  49.5,
                                   50,      50.6, 59.94, 60,    100,  120,    240, 1e12};
const char* const flavours[] = {"apcn", "apch", "apcs", "apco", "ap4h", "xxxx"};

void setSize(double width, double height, double rate, Source& source) {
  if (width != unknown)
    source.pictures.width = static_cast<std::int64_t>(width);
  if (height != unknown)
    source.pictures.height = static_cast<std::int64_t>(height);
  if (rate != unknown)
    source.pictures.rate = rate;
}

Source sized(double width, double height, double rate) {
  Source source;
  setSize(width, height, rate, source);
  return source;
}

// The ways in which a source's scan is told: by the field order, not at all; and what its row says,
// which may not be the same.
struct Scan {
  std::optional<Fields> fields;
  bool isProgressive;
};
constexpr Scan scans[] = {{{}, false},
                          {Fields::progressive, true},
                          {Fields::topFirst, false},
                          {Fields::bottomFirst, false},
                          {Fields::interlaced, false},
                          {Fields::topFirst, true},
                          {Fields::progressive, false}};

struct Frame {
  double width;
  double height;
};
// At and beside the sizes that there are, of other shapes, and upright.
constexpr Frame frames[] = {{unknown, unknown}, {0, 0},       {-1, 720},    {720, 576},
                            {959, 540},         {960, 540},   {960, 541},   {1280, 719},
                            {1280, 720},        {1281, 720},  {1440, 1080}, {1440, 1081},
                            {1080, 1920},       {1920, 1080}, {1920, 1088}, {3840, 2160}};

Row rowOf(const Source& source, bool isProgressive) {
  Row row = newRow(source, Choice());
  row.isProgressive = isProgressive;
  return row;
}

// ---- Groups

void pinSizes(Pin& pin) {
  for (int row = -2; row < 16; ++row) {
    const SizeRow* size = sizeRow(row);
    const std::string label = size ? size->label : "none";
    pin.add("{}|{}|{}x{}", label, presetShortLabel(label), size ? size->frame.width : 0,
            size ? size->frame.height : 0);
    for (int soft = -2; soft < 6; ++soft)
      pin.add("{:d}", presetIsCompliant(row, applicationOf(soft)));
    for (const double rate : rates)
      pin.add(presetSizeName(row, rate == unknown ? 0 : rate));
  }
  for (const std::string& image : presetSizesList(true))
    pin.add(image);
  const std::vector<double> widths = {unknown, -1,   0,    1,    9,    28,   44,   60,   128,
                                      160,     320,  352,  640,  704,  720,  768,  854,  959,
                                      960,     961,  1024, 1080, 1279, 1280, 1281, 1439, 1440,
                                      1441,    1600, 1919, 1920, 1921, 2560, 3840, 4096, 4e9};
  const std::vector<double> heights = {unknown, -1,   0,    1,    8,    20,   40,   80,  120, 240,
                                       360,     480,  486,  539,  540,  541,  576,  719, 720, 721,
                                       960,     1079, 1080, 1081, 1088, 1440, 1920, 2160};
  for (const double width : widths)
    for (const double height : heights)
      for (const double rate : rates) {
        const Source source = sized(width, height, rate);
        if (source == Source())
          continue;
        for (const bool isProgressive : {true, false}) {
          const Row row = rowOf(source, isProgressive);
          for (int soft = -1; soft < 4; ++soft)
            pin.add("{}", presetAutoComputedFromSrc(row, applicationOf(soft)));
        }
      }
  pin.add("{}", presetAutoComputedFromSrc({}, applicationOf(0)));
}

std::string described(const std::optional<Choice>& choice) {
  return choice ? fmt::format("{}/{}/{}", choice->target, choice->sizeOut, choice->speed) : "-";
}

void pinPermissionsOf(Pin& pin, const Row& entry) {
  const Permissions speeds = speedPermissions(entry);
  const Permissions targets = targetPermissions(entry);
  const SizeAndSpeed valid = validSizeAndSpeed(entry);
  pin.add("{:d}{:d}{:d} {:d}{:d}{:d} {}/{}", speeds[0], speeds[1], speeds[2], targets[0],
          targets[1], targets[2], valid.sizeOut, valid.speed);
}

void pinChoices(Pin& pin, Row entry) {
  for (int target = -1; target < 5; ++target) {
    entry.choice.target = static_cast<Target>(target);
    pin.add("{:d} {}", validTarget(entry), whyNotTarget(entry, static_cast<Target>(target)));
  }
  for (const Target target : allTargets)
    for (const Speed speed : allSpeeds)
      for (const Application soft :
           {Application::any, Application::quickTime, Application::finalCut, Application::fast}) {
        pin.add(described(nearestChoice(entry, {target, std::nullopt, speed}, soft)));
        pin.add(described(nearestChoice(entry, {target, 7, speed}, soft)));
        pin.add(described(choiceWithSpeed(entry, speed, soft)));
      }
  for (const Alternative& each :
       alternatives(entry, {outQuickTime, 12, speedSlow}, Application::iMovie))
    pin.add("{} {} {}", described(each.choice), each.sizeOut.value_or(-1),
            each.speed ? int{*each.speed} : -1);
}

void pinPermissions(Pin& pin) {
  struct Stream {
    const char* codec;
    const char* wrapper;
  };
  constexpr Stream streams[] = {
      {nullptr, nullptr}, {"h264", "mpegts"}, {"h264", "avi"}, {"av1", "mov,mp4,m4a"}};
  for (const auto& [width, height] : frames)
    for (const double rate : rates)
      for (const Scan& scan : scans)
        for (const Stream& stream : streams) {
          Source source = sized(width, height, rate);
          if (stream.codec) {
            source.pictures.codec = stream.codec;
            source.container = stream.wrapper;
          }
          source.pictures.fields = scan.fields;
          Row entry = rowOf(source, scan.isProgressive);
          for (int size = -2; size < 14; ++size) {
            entry.choice.sizeOut = size;
            for (int speed = 0; speed < 4; ++speed) {
              entry.choice.speed = static_cast<Speed>(speed);
              pinPermissionsOf(pin, entry);
            }
          }
          for (const int size : {4, 6, 12})
            if (&stream == streams + 1 && (rate == 25 || rate == 50 || rate == 59.94)) {
              entry.choice.sizeOut = size;
              for (const int tools : {0, 1, 2, 3}) {
                codecInventory().aic = tools % 2 != 0;
                codecInventory().prores = tools / 2 != 0;
                pinChoices(pin, entry);
              }
            }
        }
  for (int size = -2; size < 15; ++size)
    pin.add("{}", siblingSize(size));
}

// What the builder reads besides size, speed and scan, one kind of source each.
constexpr const char* jobKinds[] = {
    "", "v0_codec=h264 wrapper=MOV,mp4 a0_id=1 a0_channels=6 prefSurrond=1",
    "v0_codec=h264 wrapper=mpegts a0_id=1 a0_channels=6 a0_codec=pcm_bluray a0_force=1 v0_begin=3 "
    "v0_dar=16:9",
    "v0_codec=mpeg2video wrapper=mpeg v0_chroma=yuv422p a0_id=1 v0_fieldsClaim=TFF v0_dar=4:3 "
    "w_duration=61",
    "v0_codec=prores wrapper=mxf w_force=mxf v0_id=3 a0_id=4 a0_channels=2 prefSurrond=1 "
    "v0_matrix=bt2020nc v0_transfer=arib-std-b67 v0_primaries=bt2020 w_duration=9"};

Source sourceOf(std::string_view kind) {
  Dico record;
  for (const std::string_view word : split(kind, " ")) {
    const std::string value(textAfter(word, "=").value_or(""));
    if (value.find_first_not_of("0123456789") == std::string::npos)
      record.set(textUpTo(word, "="), leadingInteger(value));
    else
      record.set(textUpTo(word, "="), value);
  }
  // A format that no source comes to be told.
  const std::string format = record.textOrEmpty("w_force");
  record.remove("w_force");
  Source source = sourceOfRecord(record).value();
  source.toldFormat = format;
  return source;
}

void pinJob(Pin& pin, const Row& row, const std::string& movie) {
  for (const char* flavour : {"apch", "ap4h"}) {
    const auto command = encodage(row, movie, flavour);
    if (!command) {
      pin.add("none");
      continue;
    }
    pin.add("{:d}", command->writesProres);
    pin.add(command->arguments);
  }
  if (const auto plan = planJob(row, "/out/A clip.MOV", "apcs")) {
    pin.add("{:d}{:d} {} {:d}{:d}{:d}", plan->needsExport, plan->isExport, plan->seconds,
            isQuickTimeCopy(row), exportsSource(row), needsSlowing(row));
    for (const Arguments& command : commandsOfPlan(*plan, row.choice.target == outAic))
      pin.add(command);
  }
}

void pinCommands(Pin& pin) {
  constexpr Frame few[] = {{unknown, unknown}, {720, 576}, {1280, 720}, {1920, 1080}};
  for (const auto& [width, height] : few)
    for (const double rate : rates)
      for (const Scan& scan : scans)
        for (const char* kind : jobKinds) {
          Source source = sourceOf(kind);
          setSize(width, height, rate, source);
          source.pictures.fields = scan.fields;
          // What a row can hold of it.
          Row row = rowOf(*sourceOfRecord(storedSource(source)), scan.isProgressive);
          Row job = rowOf(source, scan.isProgressive);
          job.source.path = "/in/Été.MTS";
          // Every size with each target at the one end of speeds or the other, by turns.
          for (int size = -1; size < 14; ++size) {
            row.choice.sizeOut = size;
            for (int target = 0; target < 4; ++target) {
              const int speed = (size + target + (scan.fields ? 1 : 0)) % 4;
              row.choice.target = static_cast<Target>(target);
              row.choice.speed = static_cast<Speed>(speed);
              job.choice = row.choice;
              if (size < 0)
                job.choice.sizeOut = keepsSize;
              pinJob(pin, job, "/out/Été.mkv");
              if (const auto movie = width == 1920 ? forecastOf(row, "apco") : std::nullopt) {
                pin.add(summaryOf(*movie));
                pin.add(notesOf(*movie));
              }
            }
          }
        }
  // All speeds.
  for (int size = 4; size < 13; ++size)
    for (int speed = -1; speed < 4; ++speed)
      for (const double rate : rates)
        for (const Scan& scan : scans) {
          Row job;
          job.source = sized(1920, 1080, rate);
          job.source.pictures.fields = scan.fields;
          job.choice = {speed < 1 ? outProres : outAic, size, static_cast<Speed>(speed)};
          pinJob(pin, job, "");
        }
}

constexpr const char* paths =
    "|a|/|clip.mov|/a/clip.mov|/a/Trip  x .MTS|/a/ b|/v/.mts|~/x.avi|/a/A-NV-NV.mov|/a/-PAL.mov|"
    "/a/Holiday-PAL.mov|/c/ .mov|/d/a:b`c.m2t|/e/日本語のとても長い名前のクリップです.mp4|"
    "/f/Été à Köln.MTS|/g/my.holiday.clip.mov|/h/CLIP.MOV|/h/Clip.mov|/i/name.extensionOfThirteen|"
    "/1.345678901234567890.mov|/1.34567890123456789.mov|/123456789012345.mov|/j/";

void pinNames(Pin& pin) {
  OutputNames taken;
  const std::string all = paths + std::string(300, 'x') + ".mov";
  for (const std::string_view path : split(all, "|")) {
    pin.add(pathes2Titles(path));
    pin.add(pathes2Titles(path, {"", "x", "-NV", "é"}));
    pin.add(masterPathStr(path));
    pin.add(outputFolder(std::string(path)));
    for (const std::size_t length : {0U, 1U, 5U, 20U, 31U})
      pin.add(trimPathStr(path, length));
    for (const char* by : {"", "card", "stream", "file"})
      for (const char* time : {"", "2010-12-24 14:05:33", "2010-12-24 14:05:33 +0100", "a::b"}) {
        Source source;
        source.path = path;
        source.recordedBy = recordedByOfWord(by);
        source.recorded = time;
        pin.add(dateCreation2iMovieN(path, source));
        for (const Target target : allTargets)
          pin.add(outputPath(source, target, "/nowhere/Tessarin", taken, {}));
      }
  }
  pin.add(otherOutputPath("/nowhere/Tessarin/clip.mov", taken));
  for (const auto& [path, source] : taken)
    pin.add("{} {}", path, source);
}

void pinDates(Pin& pin) {
  const std::vector<std::string> times = {
      "2010-12-24 14.05.33", "2010-12-24 14:05:33",    "0000-00-00 00.00.00",      "2010-12-24", "",
      "x010-12-24 14.05.33", " 2010-12-24 14.05.33\n", "2010-12-24 14.05.33 +0100"};
  for (const char* origin : {"card", "beside", "stream", "container", "file", "other", ""})
    for (const std::string& time : times) {
      Source source;
      addRecordingTime(std::string(origin) + " : " + time, "/nowhere/clip.mts", source);
      pin.add(recordOfSource(source).description());
      pin.add(clipNameOfDate(time, origin));
    }
  for (std::int64_t seconds = -3; seconds < 400000; seconds += 7)
    pin.add(durationText(seconds));
  for (double moment = -2e9; moment < 4e9; moment += 1234567.25)
    pin.add(dateDescription({moment}));
  for (const char* text : {"00:01:05.12", "1:02:03:04.05", "N/A", "", "99:99:99.99", "-1:00:00.0"})
    pin.add("{}", timeStr2Seconds(text));
}

void pinArithmetic(Pin& pin) {
  std::istringstream words(
      "-1e300 -5e9 -2.5 -2.2 -1 -0.5 -0.04 0 0.05 0.1 0.5 0.98 1 1.02 1.31 1.333 1.36 1.5 1.76 "
      "1.79 2.35 2.39 7.25 60 100.5 3600 1e10 1e300");
  std::vector<double> numbers(std::istream_iterator<double>(words), {});
  numbers.push_back(std::numeric_limits<double>::infinity());
  numbers.push_back(std::numeric_limits<double>::quiet_NaN());
  for (const double one : numbers) {
    for (const double other : numbers)
      for (int out = -1; out < 5; ++out)
        pin.add("{}", encDstPoidsEstimatif(one, other, out));
    for (const int megabytes : {-5, 0, 1, 700, 4000, 2000000000})
      pin.add("{}", bitrateLimited(megabytes, one));
    for (int decimals = -1; decimals < 8; ++decimals)
      pin.add("{} {}", nbArrondi(one, decimals), nbTrimmed(one, decimals));
    pin.add(float2FractionStr(one));
  }
  for (int thousandths = -3000; thousandths < 6000; ++thousandths)
    pin.add("{} {}", float2FractionStr(thousandths / 1000.0), nbArrondi(thousandths / 1000.0, 2));
  for (int a = 0; a <= 2000; a += 40)
    for (int b = -80; b <= 1100; b += 20)
      for (const int wanted : {-7, 0, 1, 2, 16, 41, 100, 120, 199})
        pin.add("{}", nbsSousMultipleCommun(a, b, wanted));
  for (int number = -200; number < 2000; ++number)
    for (const int step : {-16, 0, 1, 2, 5, 16, 100})
      pin.add("{}", nbMultipleArrondi(number, step));
  for (int one = -60; one < 400; ++one)
    for (int other = -60; other < 400; ++other) {
      const auto [numerator, denominator] = fractionReduced(one, other);
      pin.add("{}/{}", numerator, denominator);
    }
}

void pinExports(Pin& pin) {
  for (const double rate : rates)
    for (const auto& [width, height] : frames)
      for (const char* shape : {"", "4:3", "16:9", "1.43", "9:16"})
        for (int size = -1; size < 14; ++size) {
          Row job;
          job.source = sized(width, height, rate);
          job.source.pictures.shape = shape;
          job.choice.sizeOut = size;
          for (int target = 0; target < 4; ++target) {
            job.choice.target = static_cast<Target>(target);
            for (const char* flavour : flavours)
              pin.add(exportPresetName(job, flavour));
          }
        }
  for (const char* flavour : flavours) {
    pin.add("{:d}", proresFlavour(flavour) != nullptr);
    for (const char* name : {"", "pr", "pr1080p25", "p1080", "1280x720p"})
      pin.add(whichPresetProres(name, flavour).value_or("none"));
  }
  std::map<std::string, std::string> files;
  for (const auto& entry :
       std::filesystem::directory_iterator(test::builtFile("resources/presetQt")))
    files[entry.path().filename()] = entry.path();
  for (const auto& [name, path] : files) {
    const auto bytes = readWholeFile(path);
    const Outcome<Value> list = readPropertyList(path);
    const auto settings = movtool::exportSettings(list ? *list : Value(0));
    pin.add("{} {}", name, bytes ? *bytes : bytes.reason());
    if (!settings)
      continue;
    for (const std::int64_t number : {24, 25, 30, 50, 60}) {
      movtool::SourceFacts source;
      source.width = 720;
      source.height = 576;
      source.pixelAspect = {16, 11};
      source.frameRate = {number * 1000, number % 25 == 0 ? 1000 : 1001};
      const auto place = movtool::placement(source, *settings);
      const auto exported = movtool::exportRate(settings->rateFamily, source.frameRate);
      pin.add("{}x{}+{}+{} {}:{} {}/{}", place.width, place.height, place.left, place.top,
              place.pixelAspect.numerator, place.pixelAspect.denominator, exported.numerator,
              exported.denominator);
    }
  }
}

void pinFields(Pin& pin) {
  constexpr Fields orders[] = {Fields::progressive, Fields::topFirst, Fields::bottomFirst};
  const auto text = [](std::optional<Fields> fields) { return fields ? fieldsKey(*fields) : "-"; };
  for (const Fields first : orders)
    for (int stream = -1; stream < 3; ++stream)
      for (const int structures : {-2, 0, 1})
        for (const int elsewhere : {-1, 1, 2, 0})
          for (int changes = 0; changes < 2; ++changes)
            for (int top = 0; top < 14; ++top)
              for (int bottom = 0; bottom < 14; ++bottom) {
                FieldClues clues;
                clues.firstPicture = first;
                if (stream >= 0)
                  clues.stream = orders[stream];
                clues.topStructures = std::max(structures, 0);
                clues.bottomStructures = std::max(-structures, 0);
                if (elsewhere >= 0)
                  clues.elsewhere = {orders[elsewhere], orders[elsewhere]};
                clues.motion = {changes, top, bottom};
                const FieldOrder order = weighFieldOrder(clues);
                pin.add("{} {} {:d}", text(order.fields), text(order.claim),
                        needsMorePictures(clues));
              }
  for (const Scan& scan : scans)
    for (const double rate : rates) {
      Source source = sized(1920, 1080, rate);
      source.pictures.fields = scan.fields;
      source.path = "/in/a.mts";
      const Row row = newRow(source, {outAic, 7, speedHalf});
      pin.add(recordOfRow(row).description());
      const Dico stored = storedForm(row);
      pin.add(stored.description());
      pin.add(recordOfRow(rowOfStored(stored).value_or(Row())).description());
      pin.add("{:d}{:d}", row.isProgressive, isSourceProgressive(row.source));
    }
}

struct Group {
  const char* name;
  void (*walk)(Pin& pin);
};
constexpr Group groups[] = {{"sizes", pinSizes},       {"permissions", pinPermissions},
                            {"commands", pinCommands}, {"names", pinNames},
                            {"dates", pinDates},       {"arithmetic", pinArithmetic},
                            {"exports", pinExports},   {"fields", pinFields}};

int pinAll(const std::string& path, bool isWriting) {
  const std::string expected = readWholeFile(path) ? *readWholeFile(path) : "";
  std::string found;
  for (const Group& group : groups) {
    codecInventory().aic = codecInventory().prores = true;
    Pin pin;
    group.walk(pin);
    const std::string line = fmt::format("{} {}\n", group.name, pin.checksum());
    fmt::print("{}{}", contains(expected, line) ? "" : isWriting ? "new: " : "DIFFERS: ", line);
    std::fflush(stdout);
    found += line;
  }
  return isWriting ? writeFileAtomically(path, found) ? 0 : 1 : found == expected ? 0 : 1;
}

}  // namespace
}  // namespace tessarin

int main(int count, char** values) {
  const bool isWriting = count == 3 && std::string_view(values[1]) == "--write";
  if (count != 2 && !isWriting) {
    fmt::print(stderr, "pinDecisions [--write] FILE\n");
    return 2;
  }
  ::setenv("HOME", "/home/somebody", 1);
  ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tessarin::setLogHandler([](std::string_view) {});
  // No tables of texts: every text is its key.
  tessarin::Bundle::setMain(tessarin::Bundle("/resources", {}));
  return tessarin::pinAll(values[count - 1], isWriting);
}
