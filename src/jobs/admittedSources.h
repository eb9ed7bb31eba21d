// Which files are taken in as sources.
#pragma once

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace tessarin {

// The extensions of the first entry of "CFBundleDocumentTypes", each in four spellings: as
// written, in small letters, in capitals, capitalised. "eyetv" and "iMovieProject" are left out.
class AdmittedExtensions {
 public:
  // Reads the main bundle.
  AdmittedExtensions();

  // Whether the path's extension is one of the spellings: other mixtures of small letters and
  // capitals are refused. So are the "._" files that another system leaves beside the clips of a
  // card: they bear the clip's name and hold no movie.
  bool admits(const std::string& path) const;

  const std::unordered_set<std::string>& spellings() const { return spellings_; }
  // How many extensions are admitted, whatever their spelling.
  std::size_t count() const { return count_; }

 private:
  std::unordered_set<std::string> spellings_;
  std::size_t count_ = 0;
};

// Why this path cannot be read as a file from its start to its end, in the user's language; nothing
// when it can. A named pipe would keep the tools waiting for ever.
std::optional<std::string> problemOfSource(const std::string& source);

// The files below a folder that is searched, without copies of others (proxies.h). The movies of
// earlier runs are no sources: those in `moviesFolder` are left out, unless `folder` is that one or
// lies in it.
std::vector<std::string> sourcesBelow(const std::string& folder, const std::string& moviesFolder);

// The list to take in when `paths` was dropped: when the first one is a folder (after following
// one link or alias), its sourcesBelow instead of the list; else the list as it is, with the first
// path resolved.
std::vector<std::string> expandDroppedPaths(std::vector<std::string> paths,
                                            const std::string& moviesFolder);
// The same where several paths are meant together, such as the cards that a recording is on: each
// folder gives its sources, and what is named twice is there once.
std::vector<std::string> expandAllPaths(const std::vector<std::string>& paths,
                                        const std::string& moviesFolder);

}  // namespace tessarin
