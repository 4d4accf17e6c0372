// Names of the files an import writes, all derived from the -o path.
#pragma once

#include <string>

namespace vimport {

// File number n (from 1) of the series starting at `first`: OUT.pst,
// OUT-2.pst, OUT-3.pst...
std::string SeriesPath(const std::string& first, int n);

// `first` with its extension replaced by `suffix` (".rejected.mbox").
std::string SiblingPath(const std::string& first, const std::string& suffix);

}  // namespace vimport
