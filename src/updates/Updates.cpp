#include "updates/Updates.h"

#include <fmt/format.h>

#include <cerrno>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "updates/address.h"
#include "updates/updateFolders.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// A bar that moves ten times a second looks smooth.
constexpr std::chrono::milliseconds timeBetweenReports(100);
// One turn of the loop unpacks so many pieces of at most 256 kilobytes: some milliseconds of work.
constexpr int piecesInOneTurn = 8;
constexpr std::uint64_t megabyte = 1024UL * 1024;

std::string infoText(std::string_view key) {
  const Value* value = Bundle::main().objectForInfoDictionaryKey(key);
  return value != nullptr ? value->text().value_or("") : "";
}

// Room for the archive, and for its content at least as much again.
std::optional<std::string> noRoom(const std::string& folder, const Release& release) {
  const auto needed = static_cast<std::int64_t>(2 * release.size / megabyte + 1);
  const std::int32_t free = freeDiskSpaceMo(folder);
  if (free < 0 || free >= needed)
    return std::nullopt;
  return localisationString("why_updateRoom", "", folder, fmt::to_string(needed),
                            fmt::to_string(free));
}

}  // namespace

UpdateSettings updateSettings(const PreferenceStore& preferences) {
  UpdateSettings settings;
  settings.address = trimmed(preferences.prefReadString(updateAddressKey));
  if (settings.address.empty())
    settings.address = trimmed(infoText("UpdateAddress"));
  settings.currentVersion = infoText("CFBundleShortVersionString");
  settings.language = Bundle::main().language();
  settings.folder = userUpdatesFolder();
  return settings;
}

Updates::Updates(RunLoop& loop, std::function<UpdateSettings()> settings)
    : loop_(loop), settings_(std::move(settings)) {}

Updates::~Updates() {
  dropWork();
}

void Updates::lookUp() {
  ask(false);
}

void Updates::lookUpAtStart(const PreferenceStore& preferences) {
  if (state_ == UpdateState::idle && preferences.integer(PrefKey::update) != 0 &&
      !settings_().address.empty())
    ask(true);
}

void Updates::ask(bool silently) {
  if (state_ == UpdateState::downloading || state_ == UpdateState::unpacking)
    return;
  isSilent_ = silently;
  if (state_ == UpdateState::asking)  // silently so far, or twice
    return;
  current_ = settings_();
  if (current_.address.empty())
    return fail(localisationString("why_updateNoAddress"));
  const auto address = askableAddress(current_.address);
  if (!address)
    return fail(address.reason());
  current_.address = address.value();
  versionFile_.clear();
  fetch_ = std::make_unique<Fetch>(
      loop_, current_.address, current_.asking,
      [this](std::string_view bytes) {
        versionFile_ += bytes;
        return Outcome<void>();
      },
      [this](const Outcome<void>& ended) { endLookUp(ended); });
  become(UpdateState::asking);
}

void Updates::endLookUp(const Outcome<void>& ended) {
  const auto fetch = std::move(fetch_);
  if (!ended)
    return fail(ended.reason());
  auto release = parseVersionFile(versionFile_, current_.address, current_.language);
  if (!release)
    return fail(release.reason());
  release_ = std::move(*release);
  const auto own = parseVersion(current_.currentVersion);
  logFormat("updates             : {} is there, this is {}", release_.versionText,
            current_.currentVersion);
  if (!own || release_.version <= *own)
    return become(isSilent_ ? UpdateState::idle : UpdateState::upToDate);
  become(UpdateState::available);
  if (isSilent_)
    newsFound.emit();
}

void Updates::download() {
  if (state_ != UpdateState::available)
    return;
  isSilent_ = false;
  const auto folder = makeUpdateWorkFolder(current_.folder);
  if (!folder)
    return fail(folder.reason());
  workFolder_ = folder.value();
  if (const auto reason = noRoom(workFolder_, release_))
    return fail(*reason);
  download_ = std::make_unique<ArchiveDownload>(
      loop_, release_, joinPath(workFolder_, "archive.zip"), current_.downloading,
      [this](const Outcome<void>& ended) { endDownload(ended); });
  scheduleTick();
  become(UpdateState::downloading);
}

void Updates::scheduleTick() {
  task_ = loop_.runAfter(timeBetweenReports, [this] {
    scheduleTick();
    changed.emit();
  });
}

void Updates::endDownload(const Outcome<void>& ended) {
  const auto download = std::move(download_);
  loop_.cancel(std::exchange(task_, 0));
  if (!ended)
    return fail(ended.reason());
  const std::string content = joinPath(workFolder_, "content");
  if (!mkdir(content))
    return fail(localisationString("why_updateWrite", "", content, systemReason(errno)));
  auto unpacker =
      ZipUnpacker::open(joinPath(workFolder_, "archive.zip"), content, current_.unpacking);
  if (!unpacker)
    return fail(unpacker.reason());
  unpacker_ = std::move(*unpacker);
  task_ = loop_.runSoon([this] { unpackOn(); });
  become(UpdateState::unpacking);
}

void Updates::unpackOn() {
  for (int piece = 0; piece < piecesInOneTurn; ++piece) {
    const auto isDone = unpacker_->step();
    if (!isDone)
      return fail(isDone.reason());
    if (isDone.value())
      return endUnpacking();
  }
  task_ = loop_.runSoon([this] { unpackOn(); });
  changed.emit();
}

void Updates::endUnpacking() {
  task_ = 0;
  const auto kept = keepUpdate(joinPath(workFolder_, "content"), current_.folder,
                               Bundle::main().name() + "-" + release_.versionText);
  if (!kept)
    return fail(kept.reason());
  path_ = kept.value();
  dropWork();
  become(UpdateState::ready);
}

void Updates::cancel() {
  const bool wasAsking = state_ == UpdateState::asking;
  if (!wasAsking && state_ != UpdateState::downloading && state_ != UpdateState::unpacking)
    return;
  dropWork();
  become(wasAsking ? UpdateState::idle : UpdateState::available);
}

double Updates::progress() const {
  if (state_ == UpdateState::downloading && download_)
    return download_->progress();
  return state_ == UpdateState::unpacking && unpacker_ ? unpacker_->progress() : 0;
}

void Updates::become(UpdateState state) {
  state_ = state;
  changed.emit();
}

void Updates::fail(const std::string& reason) {
  dropWork();
  logFormat("updates             :-( {}", reason);
  reason_ = reason;
  become(isSilent_ ? UpdateState::idle : UpdateState::failed);
}

void Updates::dropWork() {
  fetch_.reset();
  download_.reset();
  unpacker_.reset();
  loop_.cancel(std::exchange(task_, 0));
  removeUpdateWorkFolder(std::exchange(workFolder_, {}));
}

}  // namespace tessarin
