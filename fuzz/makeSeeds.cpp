// makeSeeds FOLDER CHECKOUT: writes inputs to begin with, into FOLDER/HARNESS/: files as cameras
// and programs write them, made byte by byte or taken from the tests' data.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "analysis/probeParser.h"
#include "classShared/log.h"
#include "core/BatchFile.h"
#include "core/Preset.h"
#include "core/storedRow.h"
#include "jobs/jobPlan.h"
#include "jobs/newRow.h"
#include "platform/propertyList.h"
#include "support/p2Card.h"
#include "tools/movieBytes.h"

namespace {

namespace fs = std::filesystem;
using namespace tessarin;
using namespace tessarin::test;

fs::path folder;

void seed(const std::string& harness, const std::string& name, std::string_view bytes) {
  fs::create_directories(folder / harness);
  std::ofstream file(folder / harness / name, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

const std::string zero(1, '\0');
const std::string moment = "20101224140533";

void seedCards() {
  const std::vector<CardClip> clips = {{"00000", moment}, {"00001", "", 6}, {"00002", notSet}};
  const std::string stream = h264Bytes(moment);
  const std::string day = "2010-12-24T14:05:33+0100";
  const std::string side =
      "<NonRealTimeMeta><CreationDate value=\"" + day + "\"/></NonRealTimeMeta>";
  const std::string moi = moiBytes(2010, 12, 24, 14, 5, 33000);
  // A clip may hold the time of AVCHD or DV in any of these.
  const auto around = [&](const std::string& pictures) {
    return std::vector{quickTime(movieHeader(3376043133), pictures), matroska(315000000, pictures),
                       avi("Fri Dec 24 14:05:33 2010", pictures)};
  };
  std::vector<std::string> files = {
      playlistBytes(clips, "20101224140000"),
      playlistBytes(clips, notSet, ExtensionOffset::dataBlock),
      playlistBytes(clips, moment, ExtensionOffset::absent),
      stream,
      transportBytes(stream, 188),
      transportBytes(stream, 192),
      transportBytes(stream, 204),
      moi,
      quickTime(movieHeader(3376043133) + atom("udta", dayOfUserData(day)), "pictures"),
      quickTime(movieHeader(3376043133) + atom("meta", dateKey(day)), "pictures"),
      mxf("07DA 0C 18 0E 05 21 00"),
      dvFrame("FFD6E210", "FFA8B6E1").substr(0, 12100),
      dvFrame("FFD6E210", "FFA8B6E1", false) + dvFrame("FFD6E210", "FFA9B6E1", false),
      dvFrame("FFD6E210", "FFA8B6E1", false).substr(0, 12100),
      day,
      "Fri Dec 24 14:05:33 2010",
      fromHex("FFFF1E20 000102030405060708") + "24.12.2010 "};
  for (const std::string& pictures : {std::string("pictures"), stream})
    for (const std::string& file : around(pictures))
      files.push_back(file);
  for (std::size_t i = 0; i < files.size(); ++i)
    seed("cardFuzz", "file" + std::to_string(i), files[i]);

  const auto at = [](std::size_t place, const std::string& content) {
    return bigEndian(place, 1) + bigEndian(content.size(), 2) + content;
  };
  const std::string transport = transportBytes(stream);
  seed("cardFolderFuzz", "card",
       at(0, files[0]) + at(2, transport) + at(3, transport) + at(4, "no clip"));
  seed("cardFolderFuzz", "untold", at(1, files[2]) + at(2, transport));
  seed("cardFolderFuzz", "moi",
       at(5, moi) + at(6, "clip") + at(7, "clip") + at(8, moi.substr(0, 9)));
  const std::string p2 = p2Xml({.connection = "<Top><GlobalClipID>1</GlobalClipID></Top>"
                                              "<Next><GlobalClipID>2</GlobalClipID></Next>"});
  seed("cardFolderFuzz", "p2",
       at(12, files[10]) + at(13, files[10]) + at(14, files[10]) + at(15, p2));
  seed("cardFolderFuzz", "side", at(9, side) + at(10, "clip") + at(11, files[9]));
}

void seedStreams() {
  const auto little = [](std::size_t value, int width) {
    const std::string bytes = bigEndian(value, width);
    return std::string(bytes.rbegin(), bytes.rend());
  };
  const auto wave = [&](std::size_t codec, std::size_t channels, const std::string& more) {
    const std::string format = little(codec, 2) + little(channels, 2) + little(48000, 4) +
                               little(96000 * channels, 4) + little(2 * channels, 2) +
                               little(16, 2) + more;
    return "RIFF" + fromHex("FFFFFFFF") + "WAVELIST" + little(4, 4) + "INFOfmt " +
           little(format.size(), 4) + format + "data" + fromHex("FFFFFFFF") +
           std::string(3000, 'w');
  };
  seed("pipeStreamsFuzz", "mono.wav", wave(1, 1, ""));
  seed("pipeStreamsFuzz", "six.wav",
       wave(0xFFFE, 6,
            little(22, 2) + little(16, 2) + little(63, 4) + little(1, 2) +
                fromHex("000000001000800000AA00389B71")));
  const auto pictures = [](const std::string& words, std::size_t frame) {
    std::string stream = "YUV4MPEG2 W16 H16 F25:1 " + words + "\n";
    for (const char letter : {'a', 'a', 'b', 'z'}) {
      stream += "FRAME\n" + std::string(frame, letter);
      stream[stream.size() - frame / 2] = static_cast<char>(letter + 40);
    }
    return stream;
  };
  seed("pipeStreamsFuzz", "top.y4m", pictures("It A16:15 C420mpeg2", 384));
  seed("pipeStreamsFuzz", "paldv.y4m", pictures("Ib A1:1 C420paldv XYSCSS=420PALDV", 384));
  seed("pipeStreamsFuzz", "ten.y4m", pictures("Ip A0:0 C422p10 XCOLORRANGE=LIMITED", 1024));
  seed("pipeStreamsFuzz", "full.y4m", pictures("Ip C444p10", 1536));
  for (const std::size_t kind : {0U, 1U, 2U}) {
    seed("aicFuzz", "kind" + std::to_string(kind),
         fromHex("3F2F 01 01 00 00") + bigEndian(kind, 1) + "\x10\xEB");
    seed("proresFuzz", "kind" + std::to_string(kind),
         fromHex("3F2F 01 00 00 00 00 03 00") + bigEndian(kind, 1) + "\x10\xEB");
  }
  seed("aicFuzz", "sized", fromHex("3F2F 00 05 01 0040 00 01 10EB"));
  seed("proresFuzz", "full", fromHex("3F2F 02 02 01 00 01 00 02 10EB"));
  seed("mpegHeadersFuzz", "closed.mpg",
       fromHex("000001B3 160120 33 FFFFE018 000001B8 00080040 00000100 000FFFF8 000001B7"));
  seed("movieIndexFuzz", "empty.mov", quickTime(movieHeader(3376043133)));
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts)
    text += part + zero;
  return text;
}

// An archive with an empty file of this name, or a symbolic link.
std::string zipOf(const std::string& name, bool isLink = false) {
  const auto little = [](std::size_t value, int width) {
    const std::string bytes = bigEndian(value, width);
    return std::string(bytes.rbegin(), bytes.rend());
  };
  const std::string entry = little(20, 2) + std::string(24, '\0');
  const std::string local =
      "PK\3\4" + entry.substr(0, 22) + little(name.size(), 2) + little(0, 2) + name;
  const std::string directory = "PK\1\2" + little(0x314, 2) + entry.substr(0, 22) +
                                little(name.size(), 2) + std::string(8, '\0') +
                                little(isLink ? 0xA1FF0000 : 0x81A40000, 4) + little(0, 4) + name;
  return local + directory + "PK\5\6" + little(0, 4) + little(1, 2) + little(1, 2) +
         little(directory.size(), 4) + little(local.size(), 4) + little(0, 2);
}

// What ffmpeg says, and what is made of it: rows, commands, exports.
void seedReports(const fs::path& checkout) {
  StoredBatch batch;
  batch.settings.set(BatchSetting::choices, Dico());
  for (const auto& entry : fs::directory_iterator(checkout / "tests/data/reports")) {
    const std::string name = entry.path().stem();
    const std::string report = contentOf(entry.path());
    seed("reportFuzz", name, report);
    seed("reportFuzz", name + "-again", report + zero + report);
    seed("toolWordsFuzz", name, report);
    seed("exportFuzz", name,
         fromHex("02 01 01 32 02 01 02 01 0781 0439 01 02 02") + zero +
             "YUV4MPEG2 W1440 H1080 F25:1 It A4:3 C420mpeg2" + zero + report);
    auto source = analysisFf(report, Fields::topFirst, "");
    if (!source)
      continue;
    source->path = "/card/" + name + ".MTS";
    for (const Target target : {outQuickTime, outAic, outProres}) {
      const Row row = newRow(*source, {target, 0, speedKeep});
      batch.rows.push_back({static_cast<std::int64_t>(batch.rows.size()) + 1, row});
      if (const auto plan = planJob(row, "/movies/" + name + ".mov", "apch"))
        seed("adapterFuzz", name + std::to_string(target),
             joined({plan->command.arguments.begin() + 1, plan->command.arguments.end()}));
    }
  }
  // Exports of every kind, of a source with more colours than one of them has.
  const std::string wide =
      "Input #0, mov, from '«source»':\n  Metadata:\n    title           : a\n"
      "    creation_time   : 2020-01-02T03:04:05.000000Z\n  Duration: 00:00:10.00, start: 0.0\n"
      "  Stream #0:0: Video: hevc, yuv420p10le(pc, bt2020nc/bt2020/";
  for (int kind = 0; kind < 32; ++kind) {
    const auto flag = [kind](int bit) { return std::string((kind >> bit & 1) != 0 ? "01" : "02"); };
    seed("exportFuzz", "kind" + std::to_string(kind),
         fromHex("02" + std::string(kind % 3 == 0 ? "01" : "04") + "02 02 07 " + flag(0) + flag(1) +
                 (kind % 5 == 0 ? "0122 0201" : "0121 0301") + flag(2) + "0" +
                 std::to_string(1 + kind % 6) + flag(3)) +
             zero + "YUV4MPEG2 W1158 H1540 F" + (kind % 2 == 0 ? "50:1" : "30000:1001") +
             (flag(4) == "01" ? " Ib" : " It") + " A1:1 C420jpeg" + zero + wide +
             (kind % 2 == 0 ? "arib-std-b67" : "smpte2084") + "), 1158x1540\n");
  }
  seed("adapterFuzz", "old",
       joined({"-i", "a.avi", "-vsync", "0", "-async", "1", "-q:vscale", "3", "-top", "1",
               "-profile", "2", "-filter:v", "scale=1:2,setparams=field_mode=tff", "b.mov"}));
  const fs::path file = folder / "settingsFuzz" / "batch.plist";
  fs::create_directories(file.parent_path());
  if (batch.rows.empty() || !writeBatchFile(file, batch))
    std::abort();
  if (const auto bytes = batchPartBytes(contentOfRow(batch.rows.front())))
    seed("settingsFuzz", "row.plist", bytes.value());
  Preset preset;
  preset.target = outAic;
  preset.speed = speedHalf;
  preset.keepsSurround = true;
  if (const auto bytes = serializedPropertyList(presetRecord(preset)))
    seed("settingsFuzz", "preset.plist", bytes.value());
  seed("settingsFuzz", "settings.plist",
       "<plist version=\"1.0\"><dict><key>version</key><integer>1</integer><key>codec</key>"
       "<string>prores</string><key>profile</key><string>hq</string><key>width</key>"
       "<integer>1920</integer><key>height</key><integer>1080</integer><key>scan</key>"
       "<string>i</string><key>rate</key><string>25</string><key>letterbox</key><true/></dict>"
       "</plist>");
}

void seedTexts(const fs::path& checkout) {
  seed("reportFuzz", "time", "card : 2010-12-24 14.05.33");
  seed("packetsFuzz", "packets",
       "#tb 0: 1/25\n#media_type 0: video\n#codec_id 0: h264\n#tb 1: 1/48000\n"
       "#media_type 1: audio\n#codec_id 1: pcm_s16le\n"
       "0,          0,          2,        1,    14183, 0x5e8d2d5a\n"
       "0,          1,          0,        1,     1183, 0x5e8d2d5a, F=0x4\n"
       "0,          1,          1,        1,     1183, 0x5e8d2d5a, F=0x0\n"
       "1,          0,          0,     1920,     7680, 0x5e8d2d5a\n"
       "1,       1920,       1920,     1920,     7000, 0x5e8d2d5a\n"
       "0,        400,        400,        1,     1183, 0x5e8d2d5a\n");
  seed("toolWordsFuzz", "progress",
       "frame=  100 fps= 50 size= 1kB time=00:00:04.00 bitrate=1.0kbits/s speed=2x\r"
       "pourcentage    : 37.5\n(batch 3)\nProcessing (4)\n"
       "[Parsed_volumedetect_0 @ 0x5] max_volume: -3.0 dB\n"
       "[mpegts @ 0x5] PES packet size mismatch\n[h264 @ 0x6] concealing 100 DC errors\n"
       "/card/a clip.mts: Input/output error\nLast message repeated 3 times\n");
  seed("toolWordsFuzz", "codecs",
       "ffmpeg version 5.1.6-0+deb12u1 Copyright (c)\nlibavcodec     59. 37.100 / 59. 37.100\n"
       " DEV.LS h264   H.264 (decoders: h264 ) (encoders: libx264 )\n"
       " DEVI.S prores Apple ProRes (encoders: prores prores_ks )\n");
  seed("textFuzz", "table", contentOf(checkout / "resources/en.lproj/fields.strings"));
  seed("textFuzz", "escapes", "/* c */ \"a\\n\\U00e9\" = \"b\\\"\"; // d\n\"\xC3\xA9\" = \"\";");
  seed("textFuzz", "utf16", fromHex("FFFE 4100 3DD8 00DE"));
  seed("textFuzz", "lossy", "a\\\\u00e9\\351");
  seed("rowFuzz", "told", fromHex("00 0D 04 16 06 13 04 0E 00 10 04 21 06 08 04 0A"));
  seed("rowFuzz", "clip", fromHex("04 0B 04 01 03 0A 01 0780 03 0B 01 0438 06 12 00 02"));
  for (const char* name : {"a", "a/b/", "../a", "/a", "a//b"})
    seed("updateFuzz", "zip" + replaceAll(name, "/", "-"), zipOf(name));
  seed("updateFuzz", "link.zip", zipOf("a", true));
  const std::string told = contentOf(checkout / "docs/updates.md");
  const std::size_t begin = told.find("\n{\n") + 1;
  const std::string version = told.substr(begin, told.find("\n}\n") + 3 - begin);
  seed("updateFuzz", "version.json", version);
  for (const char* address :
       {"http://example.org/a", "ftp://example.org/a", "https://a@b.org/", ""})
    seed("updateFuzz", "address" + std::to_string(std::string_view(address).size()),
         replaceAll(version, "tessarin-0.2.0.zip", address));
  seed("updateFuzz", "preview.json", replaceAll(version, "\"0.2.0\"", "\"0.2.0-beta.1\""));
}

}  // namespace

int main(int count, char** values) {
  if (count != 3)
    return 2;
  folder = values[1];
  setLogHandler([](std::string_view) {});
  seedCards();
  seedStreams();
  seedReports(values[2]);
  seedTexts(values[2]);
  return 0;
}
