#include "updates/UpdateInterface.h"

#include <fmt/format.h>

#include <utility>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

constexpr double bytesInMegabyte = 1'000'000;

std::string headlineOf(const Updates& updates) {
  const std::string& version = updates.release().versionText;
  const std::string& own = updates.settings().currentVersion;
  switch (updates.state()) {
    case UpdateState::idle:
      return localisationString("update_idle");
    case UpdateState::asking:
      return localisationString("update_asking");
    case UpdateState::upToDate:
      return localisationString("update_upToDate", "", own);
    case UpdateState::available:
      return localisationString("update_available", "", version, own);
    case UpdateState::downloading:
      return localisationString("update_downloading", "", version);
    case UpdateState::unpacking:
      return localisationString("update_unpacking", "", version);
    case UpdateState::ready:
      return localisationString("update_ready", "", version);
    case UpdateState::failed:
      return localisationString("update_failed");
  }
  return {};
}

std::string detailsOf(const Updates& updates) {
  switch (updates.state()) {
    case UpdateState::available:
    case UpdateState::downloading:
    case UpdateState::unpacking:
      return updates.release().notes;
    case UpdateState::ready:
      return localisationString("update_readyDetails", "", updates.path());
    case UpdateState::failed:
      return updates.reason();
    case UpdateState::idle:
      return updates.address().empty() ? localisationString("why_updateNoAddress") : "";
    default:
      return {};
  }
}

std::string goTitleOf(const Updates& updates) {
  switch (updates.state()) {
    case UpdateState::available:
    case UpdateState::downloading:
    case UpdateState::unpacking:
      return localisationString(
          "update_goDownload", "",
          fmt::format("{:.1f}", static_cast<double>(updates.release().size) / bytesInMegabyte));
    case UpdateState::ready:
      return localisationString("update_goShow");
    default:
      return localisationString("update_goLook");
  }
}

}  // namespace

UpdateInterface::UpdateInterface(Updates& updates, PreferenceStore& preferences,
                                 std::function<void(const std::string&)> reveal)
    : updates_(updates), preferences_(preferences), reveal_(std::move(reveal)) {
  address.setText(updates_.address());
  bar.setMaximum(1);
  updates_.changed.connect([this] { show(); });
  show();
}

void UpdateInterface::iba_updateGo() {
  switch (updates_.state()) {
    case UpdateState::available:
      updates_.download();
      break;
    case UpdateState::ready:
      reveal_(updates_.path());
      break;
    default:
      updates_.lookUp();
  }
}

void UpdateInterface::iba_updateStop() {
  updates_.cancel();
}

void UpdateInterface::iba_updateAddress() {
  const std::string_view text = trimmed(address.text());
  if (text.empty())
    preferences_.prefRemove(updateAddressKey);
  else
    preferences_.prefWrite(updateAddressKey, std::string(text));
  show();
}

void UpdateInterface::show() {
  const UpdateState state = updates_.state();
  const bool isBusy = state == UpdateState::asking || state == UpdateState::downloading ||
                      state == UpdateState::unpacking;
  headline.setText(headlineOf(updates_));
  details.setText(detailsOf(updates_));
  address.setEnabled(!isBusy);
  bar.setHidden(!isBusy);
  bar.setIndeterminate(state == UpdateState::asking);
  bar.setValue(updates_.progress());
  goTitle.setText(goTitleOf(updates_));
  go.setEnabled(!isBusy);
  stop.setHidden(!isBusy);
}

}  // namespace tessarin
