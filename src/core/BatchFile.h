// How a batch is written down: property lists, each a record with its "formatVersion"; a batch in
// one file, to be worked on later; and what a batch depends on besides its rows.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "classShared/Value.h"
#include "encoding/Row.h"
#include "utils/files.h"

namespace tessarin {

class PreferenceStore;
class appDelegate;

// A row and its number, which never changes: rows are in the order of these numbers, which have
// gaps where rows were removed, until the user brings them into another one (BatchStore).
struct StoredRow {
  std::int64_t order = 0;
  Row row;
  std::string picture = {};  // content of the thumbnail's file, "" for none
  bool isChanged = false;    // since it was read: where it is stored it is out of date
};

// A batch as a whole.
struct StoredBatch {
  // What the run depends on besides its rows; keys of BatchSetting.
  Dico settings;
  std::vector<StoredRow> rows;
  std::vector<std::string> waiting;  // sources that have no row yet, in order
};

namespace BatchSetting {
inline constexpr std::string_view choices = "choices";  // record of PrefKey: the controls
// Text, the answer for all movies that are there already (StateKey::replaceFiles).
inline constexpr std::string_view replaceFiles = "replaceFilesCheck";
inline constexpr std::string_view front = "front";  // record, what the program itself needs
// In that record, integer, 1: a list of the window that was not being converted.
inline constexpr std::string_view atRest = "atRest";
}  // namespace BatchSetting

// The record in a form that a property list keeps exactly: texts that are no UTF-8 (old names of
// files) or hold a zero byte become bytes, which no record of the program has otherwise.
Dico storableRecord(const Dico& record);
Dico recordOfStorable(const Dico& stored);

// The bytes of a file of the format with this record. Fails with the reason.
Outcome<std::string> batchPartBytes(const Dico& content);
// Writes such a file as a whole. Fails with the reason.
Outcome<void> writeBatchPart(const std::string& path, const Dico& content, FolderSync folderSync);

// What became of reading a file of the format.
struct BatchPart {
  enum class State {
    good,
    missing,
    damaged,  // no property list, or none of this format
    newer,    // of a version that this program does not know
  };
  State state = State::missing;
  std::string reason;  // of damaged and newer, in the user's language
  Dico content;        // of good: without the version

  bool isGood() const { return state == State::good; }
};

BatchPart readBatchPart(const std::string& path);

// Brings the content of an older version to the next one.
using FormatStep = Dico (*)(Dico older);
// What each version changed: the first step turns version 1 into version 2.
std::span<const FormatStep> batchFormatSteps();

// The part that a file with this content is, once all steps behind its version have been taken.
BatchPart upgradedPart(Dico content, std::span<const FormatStep> steps);

// One property list of the format with the settings and all rows; without thumbnails, which end
// with the process. Replaces the file. Fails with the reason.
Outcome<void> writeBatchFile(const std::string& path, const StoredBatch& batch);

struct BatchFile {
  BatchPart::State state = BatchPart::State::missing;
  std::string reason;  // unless good, in the user's language
  StoredBatch batch;   // rows numbered from 1, those that were being worked on waiting
};

BatchFile readBatchFile(const std::string& path);

// The record of BatchSetting: the controls' choices, the flavour of ProRes, the answer for movies
// that are there already, and what the front adds.
Dico batchSettings(appDelegate& app, const PreferenceStore& preferences, const Dico& front);

// Brings the choices back. The destination stays as it was even where its folder is not there at
// the moment: movies must not end up elsewhere.
void applyBatchSettings(appDelegate& app, PreferenceStore& preferences, const Dico& settings);

}  // namespace tessarin
