#pragma once
// The log page: one renderer for the screen preview, the PDF and the JPG. A page holds the header block
// (log information and GPS fix), the depth plot with its depth scale, and the callouts with their averaged
// waveforms; page size and orientation come from the plot settings, a watermark and a "DRAFT" mark are
// optional. With a fixed printed scale ("per inch") a long log runs over several pages.

#include "app/plot/depth_plot.h"
#include "app/plot/plot_model.h"
#include "app/plot/waveform_view.h"
#include "log/log_data.h"

#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QRectF>
#include <QString>

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
    std::string modelName;             // the mode's model name, e.g. "Alder®"
    int fontPoints = 11;               // the mode's page font; 0 is taken as 10
    std::optional<DepthWindow> window; // default: the model's default window
    std::string creator;               // e.g. "ZEL 0.1.0"
    std::span<const float> re;         // the log's RE, drawn behind the callouts' waveforms; may be empty
    double waveDeltaX = 0.0;           // seconds per sample of the waveforms
};

// What a render drew: the tests check a page's structure from it rather than its pixels.
struct PageRecord {
    int pages = 0;
    QSizeF pageSizePoints;          // 1/72 inch
    std::vector<std::string> texts; // every text drawn, in order
    bool contains(std::string_view text) const;
};

// The page layout the settings ask for: Letter or Legal, portrait or landscape, 0.4 inch margins.
QPageLayout pageLayoutFor(const PlotSettings& settings);

// Pages the log needs: 1, or with a fixed printed scale as many as the depth window takes (at most 200).
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

} // namespace zel::plot
