#include "core/ClipPreview.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "analysis/usedStreams.h"
#include "jobs/newRow.h"
#include "platform/Bundle.h"

namespace tessarin {

namespace {

// Whoever goes through the list quickly, or draws the slider, does not start a tool for each step.
constexpr std::chrono::milliseconds pause(120);
constexpr ToolLimits limits{std::chrono::seconds(10), {}, 8u << 20, false};
// The last picture begins before the end of the clip.
constexpr double lastPicture = 0.3;

// Even, as the chroma of a JPEG wants it.
int even(double length) {
  return std::max(2, static_cast<int>(length) / 2 * 2);
}

Arguments takeOne(Arguments command, const std::string& path, const Arguments& map,
                  const std::string& filters) {
  command.insert(command.end(), {"-i", path});
  command.insert(command.end(), map.begin(), map.end());
  command.insert(command.end(),
                 {"-vframes", "1", "-an", "-sn", "-dn", "-vf", filters, "-pix_fmt", "yuvj420p",
                  "-q:v", "3", "-f", "image2pipe", "-c:v", "mjpeg", "pipe:1"});
  return command;
}

Arguments beginning(double seconds) {
  return {Bundle::main().toolPath("ffmpeg"),
          "-nostdin",
          "-loglevel",
          "error",
          "-ss",
          fmt::format("{:.3f}", std::max(0.0, seconds))};
}

// Parity: 0 top field first, 1 bottom field first, -1 as the pictures say.
std::string deinterlaced(int parity) {
  return fmt::format("yadif=0:{}:0,", parity);
}

}  // namespace

Arguments pictureCommand(const Source& recording, double seconds, FrameSize room) {
  const Source source = partAt(recording, seconds);
  const double aspect = thumbnailAspect(source);
  const double width = std::min<double>(room.width, room.height * aspect);
  const Fields fields = source.pictures.fields.value_or(Fields::progressive);
  std::string filters = fields == Fields::progressive
                            ? ""
                            : deinterlaced(fields == Fields::topFirst      ? 0
                                           : fields == Fields::bottomFirst ? 1
                                                                           : -1);
  filters += fmt::format("scale={}:{}", even(width), even(width / aspect));
  Arguments command = beginning(seconds);
  const Arguments input = inputOptions(source);
  command.insert(command.end(), input.begin(), input.end());
  return takeOne(std::move(command), source.path, mapOfVideo(source), filters);
}

Arguments pictureCommand(const std::string& movie, bool isInterlaced, double seconds,
                         FrameSize room) {
  const std::string scale = fmt::format(
      "scale=trunc(min({0}\\,{1}*dar)/2)*2:trunc(min({1}\\,{0}/dar)/2)*2", room.width, room.height);
  return takeOne(beginning(seconds), movie, {}, (isInterlaced ? deinterlaced(-1) : "") + scale);
}

double momentInMovie(const Row& row, const std::optional<Forecast>& movie, double seconds) {
  // A copy keeps what stands before the first picture.
  const double begin =
      movie && movie->isCopy ? 0 : std::max(0.0, row.source.pictures.begin.value_or(0));
  const double slowed = row.choice.speed == speedSlow ? 2 : 1;
  return std::max(0.0, seconds - begin) * slowed;
}

ClipPreview::ClipPreview(RunLoop& loop, BatchTable& table)
    : loop_(loop), table_(table), run_(loop) {
  table_.rowsChanged.connect([this](const std::vector<int>& changedRows) {
    if (!path_.empty() && std::binary_search(changedRows.begin(), changedRows.end(), row()))
      rowChanged();
  });
  table_.rowsRemoved.connect([this](const std::vector<int>&) {
    if (!path_.empty() && row() < 0)
      show(-1);
  });
}

double ClipPreview::length() const {
  const int shown = row();
  return shown < 0 ? 0 : lengthOf(table_.source(shown));
}

void ClipPreview::show(int shown) {
  const std::string path = table_.has(shown) ? table_.sourcePath(shown) : "";
  if (path == path_)
    return;
  abandon();
  path_ = path;
  movie_ = path.empty() ? "" : table_.movieOf(shown);
  moment_ = 0;
  sourcePicture_.clear();
  moviePicture_.clear();
  changed.emit();
  want();
}

void ClipPreview::setMoment(double fraction) {
  moment_ = std::clamp(fraction, 0.0, 1.0);
  want();
}

void ClipPreview::setRoom(std::optional<FrameSize> room) {
  if (room && (room->width < 2 || room->height < 2))
    room.reset();
  if (room && room_ && room->width == room_->width && room->height == room_->height)
    return;
  room_ = room;
  if (room_)
    want();
  else
    abandon();
}

void ClipPreview::abandon() {
  loop_.cancel(std::exchange(timer_, 0));
  run_.cancel();
  wanted_.clear();
  isNew_ = false;
}

// A movie came, or is not the row's any more.
void ClipPreview::rowChanged() {
  const std::string movie = table_.movieOf(row());
  if (movie == movie_)
    return;
  movie_ = movie;
  moviePicture_.clear();
  changed.emit();
  want();
}

void ClipPreview::want() {
  isNew_ = true;
  if (timer_ == 0 && !run_.isRunning() && room_ && !path_.empty())
    timer_ = loop_.runAfter(pause, [this] {
      timer_ = 0;
      next();
    });
}

void ClipPreview::next() {
  if (!room_ || row() < 0)
    return;
  if (std::exchange(isNew_, false)) {
    wanted_ = {false};
    if (hasMovie())
      wanted_.push_back(true);
  }
  if (wanted_.empty())
    return;
  const bool isOfMovie = wanted_.front();
  wanted_.pop_front();
  take(isOfMovie);
}

void ClipPreview::take(bool isOfMovie) {
  const Row& entry = table_.row(row());
  const double seconds = std::min(this->seconds(), std::max(0.0, length() - lastPicture));
  const auto forecast = table_.forecast(row());
  const Arguments command =
      isOfMovie ? pictureCommand(movie_,
                                 forecast && (forecast->isInterlaced ||
                                              (forecast->isCopy && !entry.isProgressive)),
                                 momentInMovie(entry, forecast, seconds), *room_)
                : pictureCommand(entry.source, seconds, *room_);
  const auto ended = [this, isOfMovie](const ToolResult& result) {
    const bool isWhole = !result.isOverdue && result.status == 0;
    (isOfMovie ? moviePicture_ : sourcePicture_) = isWhole ? result.output : "";
    changed.emit();
    next();
  };
  if (!run_.start(command, limits, ended))
    wanted_.clear();
}

}  // namespace tessarin
