#include "core/appDelegate.h"

#include <fmt/format.h>

#include <algorithm>
#include <thread>

#include "analysis/codecInventory.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/stepState.h"
#include "encoding/choiceWords.h"
#include "encoding/targets.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr const char* folderName = "Tessarin";

// The stored index when it lies within the control's segments, or else the default.
template <class SelectionControl>
void applyIndex(SelectionControl& control, const Dico& stored, std::string_view key, int count) {
  const auto index = stored.integer(key);
  if (index && *index >= 0 && *index < count)
    control.select(static_cast<int>(*index));
  else
    control.select(static_cast<int>(prefDefaults().integer(key).value_or(0)));
}

const std::string& selectedLabel(const SegmentedControl& control) {
  return control.segments().at(static_cast<std::size_t>(control.selected())).label;
}

bool isChecked(const Dico& stored, std::string_view key) {
  return stored.integer(key).value_or(prefDefaults().integer(key).value_or(0)) != 0;
}

// The stored folder when it exists, or the folder above it when it is the application's own
// subfolder; the default when that does not exist.
std::string usableDestination(const std::string& stored) {
  if (stored.empty())
    return prefDefaults().textOrEmpty(PrefKey::destination);
  const bool isOwn = endsWith(fileName(stored), folderName);
  const std::string needed = isOwn ? parentFolder(stored) : stored;
  return isDirectory(expandTilde(needed)) ? stored
                                          : prefDefaults().textOrEmpty(PrefKey::destination);
}

int itemOfFlavour(const PopUpButton& popup, std::string_view flavour) {
  const auto& items = popup.items();
  for (std::size_t index = 0; index < items.size(); ++index)
    if (items[index].value == flavour)
      return static_cast<int>(index);
  return -1;
}

void applyProres(PopUpButton& popup, std::string flavour) {
  const std::string standard = prefDefaults().textOrEmpty(PrefKey::prores);
  if (flavour.empty())
    flavour = standard;
  if (popup.items().empty()) {
    debugFormat("prores              :-( no codec available");
    popup.select(-1);
    return;
  }
  int item = itemOfFlavour(popup, flavour);
  if (item < 0) {
    logFormat("prores              :-( {}", flavour);
    if (flavour != standard)
      item = itemOfFlavour(popup, standard);
    if (item >= 0)
      logFormat("prores              :-/ {}", standard);
    logFormat("prores              :-(( {}", flavour);
  }
  popup.select(item);
}

}  // namespace

appDelegate::appDelegate(CoreServices services)
    : services_(std::move(services)),
      table_(services_, interface),
      known_(services_.loop, services_.convertedClips),
      queue_(services_, interface, table_, known_),
      driver_(services_, interface, table_),
      preview_(services_.loop, table_) {
  clearStepFlags(services_.preferences);
  queue_.encodingToSuspend.connect([this] { driver_.suspendForAnalysis(); });
  queue_.encodingToResume.connect([this] { driver_.resumeAfterAnalysis(); });
  // Files that came during an analysis.
  queue_.finished.connect([this] { scheduleOpenFiles(); });
  driver_.batchEnded.connect([this] {
    queue_.setOpenPermitted(true);
    if (const auto stopped = std::exchange(batchStopped_, {}))
      stopped();
  });
  queue_.rowReady.connect([this](int row) { history_.examined(table_.sourcePath(row)); });
  driver_.jobStarted.connect([this](const std::string& source, const std::string& output) {
    history_.begun(source, output);
  });
  driver_.jobEnded.connect([this](const JobEnd& end) {
    history_.ended(end);
    const int row = table_.rowOfSource(end.source);
    if (table_.has(row))
      table_.set(row, &Row::reason, end.reason);
  });
  // Without a row there is nothing to start.
  table_.rowsRemoved.connect([this](const std::vector<int>&) {
    if (table_.count() == 0)
      interface.batchGoBt.setEnabled(false);
  });
  // A preset's target goes with the application that it was chosen for.
  interface.editingSoft.changed.connect([this] { interface.setTarget({}); });
  interface.easy.changed.connect(
      [this] { interface.speed.setEnabled(interface.easy.selected() != 1); });
  interface.speed.setEnabled(interface.easy.selected() != 1);
  // No choice for conversions: neither stored with them nor restored.
  remember(interface.partsApart, PrefKey::partsApart,
           [this](bool areApart) { queue_.keepPartsApart(areApart); });
  remember(interface.splitsTapes, PrefKey::splitTapes,
           [this](bool areSplit) { queue_.splitTapes(areSplit); });
  remember(interface.onlyNew, PrefKey::onlyNew,
           [this](bool areOnlyNew) { takeOnlyNew(areOnlyNew); });
  remember(interface.assistantSkip, PrefKey::assistantSkip, [](bool) {});
  queue_.accepted.connect([this] { interface.leftOut.setText(""); });
  queue_.leftOut.connect([this](const KnownClips::Finding& finding) { tellLeftOut(finding); });
  known_.refused.connect([this](const std::string& reason) { interface.leftOut.setText(reason); });
  listFlavours();
}

// The box is as it was stored; what becomes of it is stored, and used.
void appDelegate::remember(CheckBox& box, std::string_view key, std::function<void(bool)> use) {
  box.setChecked(services_.preferences.integer(key) == 1);
  use(box.isChecked());
  box.changed.connect([this, &box, key, use = std::move(use)] {
    services_.preferences.prefWrite(key, box.isChecked() ? 1 : 0);
    use(box.isChecked());
  });
}

void appDelegate::takeOnlyNew(bool areOnlyNew) {
  queue_.takeOnlyNew(areOnlyNew);
  driver_.setClash(areOnlyNew ? Clash::other : Clash::left);
}

void appDelegate::tellLeftOut(const KnownClips::Finding& finding) {
  std::vector<std::string> lines;
  if (finding.record != ConvertedRecord::State::good)
    lines.push_back(troubleOfRecord(finding.record, services_.convertedClips));
  if (const std::size_t count = finding.known.size(); count > 0)
    lines.push_back(count == 1 ? localisationString("D_leftOut_one")
                               : localisationString("D_leftOut", "", fmt::format("{}", count)));
  interface.leftOut.setText(joinTexts(lines, "\n"));
}

int suitableJobs(unsigned processors) {
  return std::clamp(static_cast<int>(processors), 1, 8);
}

void appDelegate::followChosenJobs() {
  const auto stored = services_.preferences.integer(PrefKey::jobs);
  interface.jobs.select(stored > 0 && stored <= mostJobsOffered ? static_cast<int>(stored) : 0);
  const auto use = [this] {
    const int chosen = interface.jobs.selected();
    setJobs(chosen > 0 ? chosen : suitableJobs(std::thread::hardware_concurrency()));
  };
  use();
  interface.jobs.changed.connect([this, use] {
    services_.preferences.prefWrite(PrefKey::jobs, interface.jobs.selected());
    use();
  });
}

void appDelegate::setJobs(int jobs) {
  queue_.setJobs(jobs);
  driver_.setJobs(jobs);
}

appDelegate::~appDelegate() {
  services_.loop.cancel(openFiles_);
}

// A folder is taken in alone: what another hand-over brings must not be put beside it.
void appDelegate::applicationOpenFiles(const std::vector<std::string>& paths) {
  if (paths.empty())
    return;
  if (!services_.asksDisksFirst) {
    openLater(paths, isDirectory(paths.front()));
    return;
  }
  handedOver_.push_back(paths);
  if (handedOver_.size() == 1)
    takeHandedOver();
}

void appDelegate::takeHandedOver() {
  const auto isFolder = std::make_shared<bool>(false);
  handedOverDisk_.ask(
      [isFolder, path = handedOver_.front().front()] { *isFolder = isDirectory(path); },
      [this, isFolder] {
        const std::vector<std::string> paths = std::move(handedOver_.front());
        handedOver_.pop_front();
        if (!handedOver_.empty())
          takeHandedOver();
        openLater(paths, *isFolder);
      });
}

void appDelegate::openLater(const std::vector<std::string>& paths, bool isFolder) {
  if (filesToOpen_.empty() || isLastClosed_ || isFolder) {
    filesToOpen_.push_back({paths});
  } else {
    auto& last = filesToOpen_.back().paths;
    last.insert(last.end(), paths.begin(), paths.end());
  }
  isLastClosed_ = isFolder;
  scheduleOpenFiles();
}

void appDelegate::whenDiskAnswers(const std::string& path,
                                  std::function<void(bool isAnswered)> act) {
  constexpr std::chrono::seconds patience(1);
  if (services_.asksDisksFirst)
    disk_.askFor(expandTilde(path), patience, std::move(act));
  else
    act(true);
}

void appDelegate::scheduleOpenFiles() {
  if (openFiles_ == 0 && !filesToOpen_.empty())
    openFiles_ = services_.loop.runSoon([this] { performOpenFiles(); });
}

// Nobody sees a refusal of files that another program hands over: they wait for the analysis, and
// for the answer to the question whether to quit.
void appDelegate::performOpenFiles() {
  openFiles_ = 0;
  if (isQuitting_ || !queue_.isOpenPermitted())
    return;
  logLine("drag'n'drop onto icon…");
  const OpenSet set = std::move(filesToOpen_.front());
  filesToOpen_.pop_front();
  if (set.areTogether)
    queue_.takeTogether(set.paths);
  else
    draggedFiles(set.paths);
}

void appDelegate::takeTogether(const std::vector<std::string>& paths) {
  if (queue_.isOpenPermitted()) {
    queue_.takeTogether(paths);
    return;
  }
  filesToOpen_.push_back({paths, true});
  isLastClosed_ = true;
  scheduleOpenFiles();
}

void appDelegate::dragNDropPerformDrag(const std::vector<std::string>& paths) {
  logLine("drag'n'drop(imgView)…");
  draggedFiles(paths);
}

// The flavours that the codec inventory has found, which may be taken after the controller is made.
void appDelegate::listFlavours() {
  std::vector<PopUpButton::Item> flavours;
  for (const ProresEncoder& encoder : proresEncoders())
    flavours.push_back({encoder.name, "", "", "", std::string(encoder.flavour->code)});
  interface.prores.setItems(std::move(flavours));
}

void appDelegate::prefs2GuiApp(const Dico& stored, DestinationFolder folder) {
  listFlavours();
  const std::string destination = stored.textOrEmpty(PrefKey::destination);
  interface.destination.setText(folder == DestinationFolder::unasked && !destination.empty()
                                    ? destination
                                    : usableDestination(destination));
  if (folder == DestinationFolder::made)
    mkdir(expandTilde(interface.destination.text()));
  interface.names.setText(stored.textOrEmpty(PrefKey::names));
  const int colours = interface.colour.count();
  if (const auto colour = stored.integer(PrefKey::color);
      colour && *colour >= 0 && *colour < colours)
    interface.colour.select(static_cast<int>(*colour));
  else if (!interface.colour.has(interface.colour.selected()))
    interface.colour.select(0);
  interface.alertEnd.setChecked(isChecked(stored, PrefKey::alertEnd));
  interface.updateCheck.setChecked(isChecked(stored, PrefKey::update));
  interface.surround.setChecked(isChecked(stored, PrefKey::surround));
  interface.setSound(
      soundsOfWord(wordOfSounds(stored.textOrEmpty(PrefKey::sound))).value_or(std::string()));
  applyIndex(interface.slowSound, stored, PrefKey::slowSound,
             static_cast<int>(interface.slowSound.items().size()));
  applyProres(interface.prores, stored.textOrEmpty(PrefKey::prores));
  applyIndex(interface.checkMatrix, stored, PrefKey::checkMatrix, interface.checkMatrix.count());
  applyIndex(interface.speed, stored, PrefKey::speed, interface.speed.count());
  applyIndex(interface.editingSoft, stored, PrefKey::editingSoft, interface.editingSoft.count());
  const auto target = static_cast<Target>(stored.integer(PrefKey::target).value_or(outNone));
  interface.setTarget(targetRow(target) ? std::optional(target) : std::nullopt);
  applyIndex(interface.sizeOut, stored, PrefKey::preset,
             static_cast<int>(interface.sizeOut.items().size()));
  applyIndex(interface.easy, stored, PrefKey::easy, interface.easy.count());
  if (interface.easy.selected() != 1)
    logFormat("!easy speed default = {} ({})", interface.speed.selected(),
              selectedLabel(interface.speed));
  logFormat("easy default        = {} ({})", interface.easy.selected(),
            selectedLabel(interface.easy));
}

void appDelegate::storePreferences() {
  for (const auto& [key, value] : prefs2GuiApp())
    services_.preferences.prefWrite(key, value);
}

void appDelegate::showBatch() {
  if (table_.count() == 0)
    return;
  interface.batchDrawer.setShown(true);
  if (!driver_.isBatchRunning())
    interface.batchGoBt.setEnabled(true);
}

Dico appDelegate::prefs2GuiApp() const {
  Dico stored;
  stored.set(PrefKey::destination, interface.destination.text());
  stored.set(PrefKey::names, interface.names.text());
  stored.set(PrefKey::color, interface.colour.selected());
  stored.set(PrefKey::alertEnd, interface.alertEnd.isChecked() ? 1 : 0);
  stored.set(PrefKey::update, interface.updateCheck.isChecked() ? 1 : 0);
  stored.set(PrefKey::surround, interface.surround.isChecked() ? 1 : 0);
  stored.set(PrefKey::sound, interface.chosenSound());
  stored.set(PrefKey::slowSound, interface.slowSound.selected());
  std::string flavour = prefDefaults().textOrEmpty(PrefKey::prores);
  const int item = interface.prores.selected();
  if (item >= 0)
    flavour = interface.prores.items().at(static_cast<std::size_t>(item)).value;
  stored.set(PrefKey::prores, flavour);
  stored.set(PrefKey::checkMatrix, interface.checkMatrix.selected());
  stored.set(PrefKey::speed, interface.speed.selected());
  stored.set(PrefKey::editingSoft, interface.editingSoft.selected());
  stored.set(PrefKey::target, interface.target.value_or(outNone));
  stored.set(PrefKey::preset, interface.sizeOut.selected());
  stored.set(PrefKey::easy, interface.easy.selected());
  return stored;
}

}  // namespace tessarin
