#include "app/zel/wave_math_page.h"

#include "app/zel/form_widgets.h"
#include "program/settings_model.h"

#include <QVBoxLayout>

namespace zel::gui {

WaveMathPage::WaveMathPage() {
    namespace pc = program::control;
    auto* v = new QVBoxLayout(this);
    checkBox(v, pc::kScatterScaling, "Scale the scatter by the RE's scatter ratio (gated probes)");
    checkBox(v, pc::kPlainRE, "Plain %RE: fluorescence against the RE's, no scatter correction");
    checkBox(v, pc::kFirstSample, "Store sample 0 as %RE (baseline diagnostic)");
    checkBox(v, pc::kCalloutFluorColour, "Colour callouts by their fluorescence channels");
    checkBox(v, pc::kBaseline, "Baseline: offer a log's stored baseline when it is loaded");
    checkBox(v, "chkLifetime", "Decay-time track (a lifetime fit beside the log)", true);
    v->addStretch();
}

} // namespace zel::gui
