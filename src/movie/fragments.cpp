#include "movie/fragments.h"

#include <cstdint>
#include <functional>

#include "movie/FileBytes.h"
#include "movie/atomTree.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

constexpr std::size_t mostPictures = 10'000'000;

class FragmentReader {
 public:
  FragmentReader(int descriptor, std::uint64_t size) : bytes_(descriptor, size) {}

  FragmentPictures read() {
    forEach({"", 0, bytes_.size()}, [this](const Atom& atom) {
      if (atom.type == "moov" && track_ == 0)
        readIndex(atom);
      else if (atom.type == "moof" && track_ != 0)
        readFragment(atom);
    });
    if (!bytes_.failure().empty())
      return {};
    if (scale_ > 0 && !result_.pictures.empty())
      result_.step = ticks_ / scale_ / static_cast<double>(result_.pictures.size());
    return std::move(result_);
  }

 private:
  struct Atom {
    std::string type;
    std::uint64_t begin = 0;  // of its content
    std::uint64_t end = 0;
  };

  // What a sample has for which its run tells nothing else.
  struct Usual {
    std::uint64_t duration = 0;
    std::uint64_t size = 0;
  };

  // Those beside each other in this one, as long as they are whole.
  void forEach(const Atom& within, const std::function<void(const Atom&)>& visit) {
    for (std::uint64_t at = within.begin; within.end - at >= headSize;) {
      std::uint64_t head = headSize;
      std::uint64_t size = bytes_.number(at, 4);
      if (size == 1 && within.end - at >= 2 * headSize) {
        head = 2 * headSize;
        size = bytes_.number(at + headSize, 8);
      } else if (size == 0) {
        size = within.end - at;
      }
      if (size < head || size > within.end - at || !bytes_.failure().empty())
        return;
      visit({bytes_.letters(at + 4), at + head, at + size});
      at += size;
    }
  }

  // 0 beyond its end.
  std::uint64_t numberIn(const Atom& atom, std::uint64_t place, unsigned size) {
    return place + size <= atom.end - atom.begin ? bytes_.number(atom.begin + place, size) : 0;
  }

  void readIndex(const Atom& index) {
    forEach(index, [this](const Atom& atom) {
      if (atom.type == "trak" && track_ == 0)
        readTrack(atom);
    });
    forEach(index, [this](const Atom& atom) {
      if (atom.type == "mvex")
        forEach(atom, [this](const Atom& usual) {
          if (usual.type == "trex" && numberIn(usual, 4, 4) == track_)
            usual_ = {numberIn(usual, 12, 4), numberIn(usual, 16, 4)};
        });
    });
  }

  void readTrack(const Atom& track) {
    std::uint64_t number = 0;
    std::uint64_t scale = 0;
    bool hasPictures = false;
    forEach(track, [&](const Atom& atom) {
      if (atom.type == "tkhd")
        number = numberIn(atom, numberIn(atom, 0, 1) == 1 ? 20 : 12, 4);
      else if (atom.type == "mdia")
        forEach(atom, [&](const Atom& media) {
          if (media.type == "mdhd")
            scale = numberIn(media, numberIn(media, 0, 1) == 1 ? 20 : 12, 4);
          else if (media.type == "hdlr")
            hasPictures = numberIn(media, 8, 4) == 0x76696465;  // "vide"
        });
    });
    if (!hasPictures)
      return;
    track_ = number;
    scale_ = static_cast<double>(scale);
  }

  void readFragment(const Atom& fragment) {
    const std::uint64_t begin = fragment.begin - headSize;
    // Where the data of the next run are that does not tell.
    std::uint64_t data = begin;
    forEach(fragment, [&](const Atom& part) {
      if (part.type != "traf")
        return;
      std::uint64_t base = data;
      Usual usual = usual_;
      bool isOfPictures = false;
      forEach(part, [&](const Atom& atom) {
        if (atom.type == "tfhd") {
          isOfPictures = numberIn(atom, 4, 4) == track_;
          base = data = readHead(atom, begin, data, usual);
        } else if (atom.type == "trun") {
          data = readRun(atom, base, data, isOfPictures, usual);
        }
      });
    });
  }

  // Where its data are counted from.
  std::uint64_t readHead(const Atom& head, std::uint64_t begin, std::uint64_t data, Usual& usual) {
    const std::uint64_t flags = numberIn(head, 1, 3);
    std::uint64_t at = headSize;
    const auto take = [&](std::uint64_t flag, unsigned size, std::uint64_t other) {
      if ((flags & flag) == 0)
        return other;
      at += size;
      return numberIn(head, at - size, size);
    };
    constexpr std::uint64_t fromFragment = 0x20000;
    const std::uint64_t base = take(0x1, 8, (flags & fromFragment) != 0 ? begin : data);
    take(0x2, 4, 0);
    usual.duration = take(0x8, 4, usual.duration);
    usual.size = take(0x10, 4, usual.size);
    return base;
  }

  // Where its data end.
  std::uint64_t readRun(const Atom& run, std::uint64_t base, std::uint64_t data, bool isOfPictures,
                        const Usual& usual) {
    constexpr std::uint64_t hasOffset = 0x1;
    constexpr std::uint64_t hasFirstFlags = 0x4;
    constexpr std::uint64_t hasDuration = 0x100;
    constexpr std::uint64_t hasSize = 0x200;
    const std::uint64_t flags = numberIn(run, 1, 3);
    const std::uint64_t count = numberIn(run, 4, 4);
    std::uint64_t at = headSize;
    if ((flags & hasOffset) != 0) {
      data = base + static_cast<std::uint64_t>(signed32(numberIn(run, at, 4)));
      at += 4;
    }
    at += (flags & hasFirstFlags) != 0 ? 4 : 0;
    std::uint64_t entry = 0;
    for (std::uint64_t field = hasDuration; field <= 0x800; field *= 2)
      entry += (flags & field) != 0 ? 4 : 0;
    if (entry > 0 && count > (run.end - run.begin) / entry)
      return data;
    for (std::uint64_t sample = 0;
         sample < count && data < bytes_.size() && result_.pictures.size() < mostPictures;
         ++sample, at += entry) {
      const bool tellsDuration = (flags & hasDuration) != 0;
      const std::uint64_t size =
          (flags & hasSize) != 0 ? numberIn(run, at + (tellsDuration ? 4 : 0), 4) : usual.size;
      if (isOfPictures && size > 0) {
        result_.pictures.push_back({data, static_cast<std::uint32_t>(size)});
        ticks_ += static_cast<double>(tellsDuration ? numberIn(run, at, 4) : usual.duration);
      }
      data += size;
    }
    return data;
  }

  FileBytes bytes_;
  std::uint64_t track_ = 0;
  double scale_ = 0;
  Usual usual_;
  double ticks_ = 0;
  FragmentPictures result_;
};

}  // namespace

FragmentPictures fragmentPictures(const std::string& path) {
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts)
    return {};
  return FragmentReader(file.number(), static_cast<std::uint64_t>(facts->state.size)).read();
}

}  // namespace tessarin
