#pragma once
// The callouts of a loaded log as its page shows them: the latest callout scheme of its companion, each
// slot's caption (or the text the user gave it), and each band's averaged waveform.

#include "app/jobs/quiet_log.h"
#include "app/plot/waveform_view.h"

#include <vector>

namespace zel::cli {

// Puts the companion's latest callout scheme into the log's callout slots (a log without a companion or a
// scheme keeps its own).
void takeLatestCalloutScheme(cZEL_Data& log);

// The log's callout bands, after takeLatestCalloutScheme.
std::vector<plot::CalloutWave> calloutBands(jobs::QuietLog& loaded);

} // namespace zel::cli
