// What a window shows of the updates, and what its buttons do.
#pragma once

#include <functional>
#include <string>

#include "core/controls.h"
#include "updates/Updates.h"

namespace tessarin {

class UpdateInterface {
 public:
  // Both are borrowed and outlive the object; it stays as long as the updates' loop runs. `reveal`
  // shows a folder in the file browser.
  UpdateInterface(Updates& updates, PreferenceStore& preferences,
                  std::function<void(const std::string&)> reveal);
  UpdateInterface(const UpdateInterface&) = delete;
  UpdateInterface& operator=(const UpdateInterface&) = delete;

  TextField headline;  // what is the case
  TextField details;   // what is new, or where something lies
  TextField address;   // of the version file, for the user to change
  ProgressBar bar;     // hidden unless something goes on
  Button go;           // the next step: look, download or show
  TextField goTitle;   // what `go` is called now
  Button stop;         // hidden unless something goes on

  void iba_updateGo();
  void iba_updateStop();
  // Keeps the address; an empty one leaves it to Info.plist.
  void iba_updateAddress();

 private:
  void show();

  Updates& updates_;
  PreferenceStore& preferences_;
  std::function<void(const std::string&)> reveal_;
};

}  // namespace tessarin
