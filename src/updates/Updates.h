// Looking for a newer version of the program, fetching it, unpacking it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/RunLoop.h"
#include "prefs/PreferenceStore.h"
#include "updates/ArchiveDownload.h"
#include "updates/Fetch.h"
#include "updates/ZipUnpacker.h"
#include "updates/versionFile.h"
#include "utils/Signal.h"

namespace tessarin {

// The preference with the address of the version file. Without one the address of Info.plist counts
// (key "UpdateAddress", which whoever packs the program sets), and without both nothing is ever
// asked of the network.
inline constexpr std::string_view updateAddressKey = "updateAddress";

struct UpdateSettings {
  std::string address = {};  // of the version file; "" for none
  std::string currentVersion = {};
  std::string language = {};  // code of the language of notes, "fr"
  std::string folder = {};    // where updates are kept
  FetchLimits asking{largestVersionFile, std::chrono::seconds(15), std::chrono::seconds(30),
                     std::chrono::seconds(60)};
  FetchLimits downloading = {};
  UnpackLimits unpacking = {};
};

// The settings of this program: preferences, Info.plist, the bundle's language, the user's folder.
UpdateSettings updateSettings(const PreferenceStore& preferences);

enum class UpdateState {
  idle,
  asking,
  upToDate,
  available,    // release() is newer
  downloading,  // progress() tells how far
  unpacking,    // as well
  ready,        // the new version lies in path()
  failed        // reason() says why, in the user's words
};

// Everything happens on the loop's thread, in small pieces. Nothing is installed or started: what
// was fetched is a folder that the user looks into.
class Updates {
 public:
  // The settings are asked for at each look-up. The loop has to outlive the object.
  Updates(RunLoop& loop, std::function<UpdateSettings()> settings);
  Updates(const Updates&) = delete;
  Updates& operator=(const Updates&) = delete;
  ~Updates();

  // State, progress or reason changed; called from the loop or from the functions below. What is
  // connected may call these functions, but not destroy the object.
  Signal<> changed;
  // A silent look-up found a newer version.
  Signal<> newsFound;

  // Asks for the version file. A download is not disturbed. Without an address it fails at once.
  void lookUp();
  // The look-up of a program's start, when `preferences` wishes it: nothing but a newer version
  // shows, and without an address nothing happens.
  void lookUpAtStart(const PreferenceStore& preferences);
  // Fetches and unpacks what is available.
  void download();
  // Back to before the look-up or the download; what was fetched so far is removed.
  void cancel();

  // The address that the next look-up asks, "" for none.
  std::string address() const { return settings_().address; }

  UpdateState state() const { return state_; }
  const UpdateSettings& settings() const { return current_; }
  const Release& release() const { return release_; }
  double progress() const;  // 0 to 1
  const std::string& path() const { return path_; }
  const std::string& reason() const { return reason_; }

 private:
  void ask(bool silently);
  void become(UpdateState state);
  void fail(const std::string& reason);
  void endLookUp(const Outcome<void>& ended);
  void endDownload(const Outcome<void>& ended);
  void scheduleTick();
  void unpackOn();
  void endUnpacking();
  void dropWork();

  RunLoop& loop_;
  std::function<UpdateSettings()> settings_;
  UpdateSettings current_;
  UpdateState state_ = UpdateState::idle;
  bool isSilent_ = false;
  Release release_;
  std::string path_;
  std::string reason_;
  std::string versionFile_;
  std::string workFolder_;
  RunLoop::Id task_ = 0;  // the next report of progress, or the next piece to unpack
  std::unique_ptr<Fetch> fetch_;
  std::unique_ptr<ArchiveDownload> download_;
  std::optional<ZipUnpacker> unpacker_;
};

}  // namespace tessarin
