// The list of a source's packets, by which its movie is judged.
#include <cmath>

#include "Input.h"
#include "ffmpeg/packetMeter.h"
#include "jobs/movieExpectation.h"
#include "movie/movieCheck.h"

using namespace tessarin;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  PacketMeter meter;
  for (const std::string& line : fuzz::Pieces(fuzz::textOf(data, size)).each('\n'))
    meter.addLine(line);
  const SourceMeasure measure = meter.result();
  std::vector<MeasuredStream> streams = measure.sounds;
  if (measure.pictures)
    streams.push_back(*measure.pictures);
  for (const MeasuredStream& stream : streams)
    fuzz::require(std::isfinite(stream.first) && std::isfinite(stream.end) &&
                  stream.leading <= stream.packets && stream.displaced <= stream.packets &&
                  stream.otherRate <= stream.packets);
  JobPlan plan;
  plan.row.source.path = "/clip.mts";
  plan.row.source.pictures.rate = 25;
  plan.row.source.seconds = plan.seconds = 0.2;
  MovieIndex movie;
  movie.tracks.push_back({MovieTrack::Kind::pictures, "apcn", 5, 5, 0, 0, 0.2});
  for (const char* container : {"mpegts", "mov,mp4,m4a,3gp,3g2,mj2", "mxf"}) {
    plan.row.source.container = container;
    plan.isCopy = plan.row.source.container == "mxf";
    const ExpectedMovie expected = expectedByMeasure(plan, measure, 1, 1);
    fuzz::require(!std::isnan(expected.seconds));
    for (const auto& sound : expected.sounds)
      fuzz::require(!std::isnan(sound.seconds));
    reasonOf(judgeMovie(movie, expected));
    isShortOfPromise(plan, movie);
    lostPictures(plan, measure, movie);
    missingPictures(plan, measure, false);
    heldPictures(plan, measure, true);
  }
  return 0;
}
