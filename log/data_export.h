#pragma once
// The data export ".lif.dat.txt": one tab-separated line a point for spreadsheets, a header line of column
// names first, numbers in fixed formats with "." whatever the locale.
//
// Formats: the depth columns ("Depth", "EC Depth", "Hmr Depth", "HP Depth") and "HP Time" take "#0.000",
// the resolution the raw log keeps them in; every measured value ("Signal", "Ch1".."Ch4", "Rate",
// "EC Value", "Hmr Value", "HP PresUp", "HP PresDown", "HP FlowUp", "HP K est.") takes "#0.0000", so small
// %RE and pressure readings keep their digits. A value the raw log keeps as a DATA list is written as the
// list keeps it (rate 2 decimals, pressure/flow 3, ...), so the export of a push and the export of its
// raw log loaded later are byte for byte the same.
#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"

#include <optional>
#include <string>

namespace zel {

// Where the per-point table keeps the values that the raw log's lists do not name: the %RE and the four
// channel areas, in the columns the push writes them to. A column the log does not have leaves its field
// empty.
struct ExportColumns {
    int signal = point_column::Signal;
    std::array<int, 4> channels{point_column::Ch1, point_column::Ch1 + 1, point_column::Ch1 + 2,
                                point_column::Ch1 + 3};
    int conductivity = point_column::Conductivity; // point_column::ConductivityBirch in the Birch mode
};

// The whole export text. Lines end in CR LF. Fields without data in a point are left empty (the tabs stay,
// so every line has the header's number of fields): "EC Depth"/"EC Value" when conductivity was not logged,
// "Hmr Depth"/"Hmr Value" when the log has no blow counts, "Color", whose class comes from the display's
// colouring and is not part of the files. The sensor depths are the point's depth less the sensor's offset
// above the window (CondOffset, Blow_Offset).
std::string dataExportText(const cZEL_Data& log, const LogArrays& arrays, bool conductivityLogged,
                           const ExportColumns& columns = {});

// The colour export ".clr.dat.txt": "Depth", "Rate", "RGB", "M_Hue", "M_Val", "M_Chr", "Cnd_Depth",
// "Cnd_Val", "Hmr_Depth", "Hmr_Rate", in the formats of the data export. The colour-space fields (RGB and
// the Munsell hue, value and chroma) come from the colour conversion of the spectra, which this program
// does not have yet: they are left empty rather than filled with values that are not measurements. The
// conductivity and hammer fields are empty in a log without them, as in the data export.
std::string colourExportText(const cZEL_Data& log, const LogArrays& arrays, bool conductivityLogged);

// Target folder + "/" + log name without extension + ".lif.dat.txt"; without a target folder the raw log's
// path with ".lif.raw.bin" replaced. ".o2" and ".clr" instead of ".lif" for the O2 and colour families.
std::string dataExportPath(const cZEL_Data& log, LogFamily family, const std::string& targetFolder);

// Writes the export (the colour export for a colour log). A failure is reported through the host ("Error in
// Export_Data: ...") and gives nullopt, otherwise the path written. withPointValues false: the %RE and
// channel fields are left empty, for a loaded log whose values could not be recomputed (it has no RE), so
// that zeros do not pass for data.
std::optional<std::string> ExportDataText(const cZEL_Data& log, const LogArrays& arrays,
                                          const RawLogContext& ctx, const std::string& targetFolder,
                                          Host& host, bool withPointValues = true);

} // namespace zel
