#pragma once
// The log page: one renderer for the PDF and the JPG, whoever asks for it (the program's menu, zel-cli
// page, a batch). A page is always of the whole log (or of the depth range and clip depths of its plot
// settings), never of a screen's zoom, at a fixed depth scale: the settings' own "per inch" scale, else the
// finest of a few standard scales that puts the log on one page, up to 5 ft (1.5 m) an inch, beyond which a
// long log runs on over continuation pages at that scale. The first page carries the title block (company
// and logo, the log's information, GPS position and datum, elevation, total depth, probe and RE, dates and
// operator); every page repeats a short header, the track titles with their scales, the legends and the
// footer. A callout panel (the callouts' averaged waveforms against time in ns, with their %RE) sits in a
// narrow column beside the tracks.

#include "app/plot/depth_plot.h"
#include "app/plot/plot_model.h"
#include "app/plot/waveform_view.h"
#include "log/log_arrays.h"
#include "log/log_data.h"

#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QRectF>
#include <QString>

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zel::plot {

struct PageInput {
    PageInput(const cZEL_Data& log, const PlotModel& model, std::vector<CalloutWave> callouts = {})
        : log(log), model(model), callouts(std::move(callouts)) {}

    const cZEL_Data& log;
    const PlotModel& model;
    std::vector<CalloutWave> callouts;
    std::string modelName;   // the mode's model name, e.g. "Alder®"
    int fontPoints = 11;     // the mode's page font; 0 is taken as 10
    std::string creator;     // e.g. "ZEL 0.1.0"
    double waveDeltaX = 0.0; // seconds per sample of the waveforms
    std::string company;     // the title block's company name (the set-up's), may be empty
    std::string logoPath;    // an image file drawn beside it; an unreadable one is left out
    std::array<std::string, 4> channelLabels{"350", "400", "450", "500"}; // named in the fill legend
};

// What a render drew: the tests check a page's structure from it rather than its pixels.
struct PageRecord {
    int pages = 0;
    QSizeF pageSizePoints;            // 1/72 inch
    std::vector<std::string> texts;   // every text drawn, in order
    std::vector<QRectF> boxes;        // where each of texts lies on its page (device units)
    std::vector<int> textPages;       // the page (0-based) of each of texts
    std::vector<DepthWindow> windows; // the depths each page shows
    std::vector<QRectF> trackHeads;   // each page's track titles and scales (device units)
    std::vector<QRectF> dataAreas;    // each page's tracks below their titles (device units)
    double depthPerInch = 0.0;        // the printed depth scale
    bool contains(std::string_view text) const;
};

// The page layout the settings ask for: Letter or Legal, portrait or landscape, 0.4 inch margins.
QPageLayout pageLayoutFor(const PlotSettings& settings);

// The printed depth scale (depth units an inch) a page of the input takes on the layout's paper.
double pageDepthPerInch(const PageInput& input, const QPageLayout& layout);

// Pages the log needs at that scale (at most 200).
int logPageCount(const PageInput& input, const QPageLayout& layout);

// Draws page pageIndex (0-based) into rect, which holds the printable area in the painter's coordinates
// scaled so that dpi device pixels make an inch (dpi only sizes fonts and pens: 72 for points).
void renderLogPage(QPainter& painter, const QRectF& rect, double dpi, const PageInput& input, int pageIndex,
                   int pageCount, PageRecord* record = nullptr);

// The program's PDF writer: QPdfWriter with the page layout, title and creator set, one page after another.
class vxPDF {
public:
    explicit vxPDF(const QString& path);
    ~vxPDF();
    vxPDF(const vxPDF&) = delete;
    vxPDF& operator=(const vxPDF&) = delete;

    void setTitle(const QString& title);
    void setCreator(const QString& creator);
    void setPageLayout(const QPageLayout& layout);
    void setResolution(int dpi); // default 300

    // Starts the document; false (with errorText) when the file cannot be written.
    bool begin();
    QPainter& painter();
    // The printable area in painter coordinates.
    QRectF pageRect() const;
    int resolution() const;
    bool newPage();
    // Finishes the file; false when writing failed.
    bool end();
    QString errorText() const { return error_; }

private:
    QString path_;
    QString error_;
    std::unique_ptr<QPdfWriter> writer_;
    std::unique_ptr<QPainter> painter_;
};

// Whole documents. error names the reason on failure. A JPG of several pages is one file a page: the first
// at path, the others with "_2", "_3" ... before the extension.
bool writePdfPage(const std::string& path, const PageInput& input, std::string& error,
                  PageRecord* record = nullptr);
bool writeJpgPage(const std::string& path, const PageInput& input, std::string& error, int dpi = 150,
                  int quality = 90, PageRecord* record = nullptr);

// Everything a log page is made from besides the log itself. The desktop fills it from its windows, zel-cli
// from the log's companion and the options file: the same request gives the same page.
struct LogPageRequest {
    PlotSettings settings;
    std::array<std::string, 4> labels{"350", "400", "450", "500"}; // the mode's channel labels
    bool birchMode = false;
    std::string modelName;
    int fontPoints = 11;
    std::string company;
    std::string logoPath;
    // The callouts' legend fills with the colour of their fluorescence channels alone (CH2 on), not of all.
    bool calloutFluorColour = false;
};

// The one page builder: the plot model and callouts of the whole log, laid out as above.
class LogPage {
public:
    LogPage(const cZEL_Data& log, const LogArrays& arrays, const LogPageRequest& request);
    LogPage(const LogPage&) = delete;
    LogPage& operator=(const LogPage&) = delete;

    const PageInput& input() const { return input_; }
    bool writePdf(const std::string& path, std::string& error, PageRecord* record = nullptr) const;
    bool writeJpg(const std::string& path, std::string& error, int dpi = 150,
                  PageRecord* record = nullptr) const;

private:
    PlotModel model_;
    PageInput input_;
};

} // namespace zel::plot
