// The XML of P2 cards.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tessarin::test {

struct P2Xml {
  std::string name = "0001AB";
  int sounds = 2;
  std::string id = "060A2B34-1";
  std::string connection = {};  // elements in "Connection"
  std::string frameRate = "50i";
  int frames = 25;
  int offset = 0;
};

// Of a clip that is one of these parts of a recording, by their names in the world.
inline std::string p2Connection(const std::vector<std::string>& ids, std::size_t part) {
  const auto named = [](const std::string& which, const std::string& id) {
    return "<" + which + "><GlobalClipID>" + id + "</GlobalClipID></" + which + ">";
  };
  return named("Top", ids.front()) + (part > 0 ? named("Previous", ids[part - 1]) : "") +
         (part + 1 < ids.size() ? named("Next", ids[part + 1]) : "");
}

inline std::string p2Xml(const P2Xml& clip) {
  std::string sounds;
  for (int sound = 0; sound < clip.sounds; ++sound)
    sounds +=
        "<Audio ValidAudioFlag=\"true\"><SamplingRate>48000</SamplingRate>"
        "<BitsPerSample>16</BitsPerSample></Audio>";
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<P2Main xmlns=\"urn:schemas-Professional-Plug-in:P2:ClipMetadata:v3.1\"><ClipContent>"
         "<ClipName>" +
         clip.name + "</ClipName><GlobalClipID>" + clip.id +
         "</GlobalClipID>"
         "<Duration>" +
         std::to_string(clip.frames) +
         "</Duration><EditUnit>1/25</EditUnit><EssenceList><Video>"
         "<FrameRate>" +
         clip.frameRate +
         "</FrameRate>"
         "<StartTimecode>10:20:30:05</StartTimecode></Video>" +
         sounds +
         "</EssenceList>"
         "<Relation><OffsetInShot>" +
         std::to_string(clip.offset) + "</OffsetInShot><Connection>" + clip.connection +
         "</Connection></Relation>"
         "<ClipMetadata><UserClipName>Überfahrt &amp; Hafen</UserClipName>"
         "<Access><CreationDate>2006-05-27T18:00:00+09:00</CreationDate></Access>"
         "<Device><Manufacturer>Panasonic</Manufacturer><SerialNo.>1</SerialNo.>"
         "<ModelName>AG-HVX200</ModelName></Device><Shoot>"
         "<StartDate>2006-05-27T16:06:13+09:00</StartDate>"
         "<Location><Longitude>135.5</Longitude><Latitude>34.75</Latitude></Location></Shoot>"
         "</ClipMetadata></ClipContent></P2Main>";
}

}  // namespace tessarin::test
