// Onsets (note or hit starts) in a level envelope of 10 ms blocks, and the two measures
// the classifier derives from them: how much of the file the onsets span, and how deep
// the level dips between the first two.
//
// The envelope is smoothed with a centred five-entry mean; an entry is an onset when it
// clears 12% of the smoothed peak, rises clearly above the mean of the two entries
// before it, reaches 72% of the highest level of the previous 200 ms, and lies at least
// 100 ms after the previous onset. Detection starts at entry 2, so a hit at the very
// start of a file may go unreported. Onset times are entry index * 10 ms whatever the
// exact block length. Pure; any thread.
#pragma once

#include <cstdint>
#include <vector>

namespace qv {

struct AudioStructure;

class OnsetDetector {
public:
    static AudioStructure detect(const std::vector<double>& envelope, double durationSeconds);
};

} // namespace qv
