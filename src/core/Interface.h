// The controls of the main window, owned by the controller.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analysis/Source.h"
#include "core/controls.h"
#include "encoding/applications.h"

namespace tessarin {

// What a popup offers and which item is chosen, apart from any control. Starts with two items, so
// that a popup that nobody has filled yet can be told by its titles.
class Popup {
 public:
  const std::vector<std::string>& popupArray() const { return popupArray_; }
  void setPopupArray(std::vector<std::string> titles) { popupArray_ = std::move(titles); }
  const std::string& selectedSizeOut() const { return selectedSizeOut_; }
  void setSelectedSizeOut(std::string title) { selectedSizeOut_ = std::move(title); }

  // Shows the items in the control, with the images in the same order (those that are missing are
  // left out). Nothing is selected when no item has the selected title.
  void bind(PopUpButton& control, const std::vector<std::string>& images) const;

 private:
  std::vector<std::string> popupArray_ = {"Item1", "Item2"};
  std::string selectedSizeOut_ = "Item1";
};

// Where the progress of one kind of task is shown.
struct TaskControls {
  ProgressBar bar;
  BusyWheel wheel;
  TextField percent;
  TextField left;    // how long it will still take, "" while that is not known
  TextField action;  // what is being done, in the user's language
  SegmentedControl stopBt;
};

// Segments of the stop control of an encoding.
enum StopSegment { pauseSegment = 0, stopSegment = 1 };

// So many clips at the same time can be chosen in the preferences.
inline constexpr int mostJobsOffered = 8;

struct Interface {
  Interface();

  // That of the selected segment, and the speed for new rows.
  Application application() const { return applicationOf(editingSoft.selected()); }
  Speed chosenSpeed() const {
    return easy.selected() == 1 ? speedKeep : static_cast<Speed>(speed.selected());
  }

  void setTarget(std::optional<Target> wanted);

  // Which sounds new rows have: all, the first, or by their numbers, which only presets name.
  void setSound(const std::string& choice);
  std::string chosenSound() const {
    return sound.items().at(static_cast<std::size_t>(sound.selected())).value;
  }
  void setSlowSound(SlowSound choice) { slowSound.select(static_cast<int>(choice)); }
  SlowSound chosenSlowSound() const { return static_cast<SlowSound>(slowSound.selected()); }

  // Choices for new rows.
  std::optional<Target> target;  // nothing: what the application begins with
  TextField targetNote;          // says so where it is another one; only changed by setTarget
  SegmentedControl editingSoft;  // the segments of applicationTable
  PopUpButton sizeOut;           // the rows of presetSizesList; 0 and 1 are the automatic ones
  SegmentedControl speed;        // 0 full, 1 half, 2 slow
  SegmentedControl easy;         // 1: the speed choice is not used
  CheckBox surround;
  PopUpButton sound;      // values are choices of soundChoice.h; see setSound
  PopUpButton slowSound;  // the rows of SlowSound
  TextField destination;  // folder, "~" allowed
  TextField names;        // pattern for those of the movies (NamePattern), "" for the usual ones

  // Preferences that have no place in the main window.
  SegmentedControl colour;
  SegmentedControl checkMatrix;
  PopUpButton prores;  // values are codes of flavours
  CheckBox alertEnd;
  CheckBox updateCheck;
  CheckBox assistantSkip;
  CheckBox partsApart;   // files of one recording stay clips of their own
  CheckBox splitsTapes;  // recordings of one captured file become clips of their own
  CheckBox onlyNew;      // clips that were converted before are left out
  PopUpButton jobs;      // values are numbers; the first, "0", is what suits the machine
  PopUpButton language;  // titles are codes; the first, "", is the desktop's language

  // Taking sources in.
  ImageView dropImage;
  TextField dropCaption;
  TextField leftOut;  // what was left out of the last clips that were taken in
  Panel analysisPanel;
  TextField analysisCaptionStr;
  BusyWheel analysisWheelProgInd;
  SegmentedControl analysisStopBt;

  // The batch.
  Panel batchDrawer;
  Button batchGoBt;        // state 1 while a batch runs
  TextField batchSummary;  // how many sources are done and wait
  TextField batchReport;   // how the last batch ended, where that was not of itself
  TaskControls encoding;
};

}  // namespace tessarin
