#pragma once
// The site's pictures for a report: the map of the borings and the cross-section through them. Both are
// drawn on a landscape Letter page and written as PDF or PNG (by the file's extension), and both tell the
// tests what they drew (texts, and where the data frame lies on the page) rather than leaving them pixels.

#include "app/plot/channel_colours.h"
#include "site/site_model.h"

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QRectF>

#include <functional>
#include <string>
#include <vector>

namespace zel::plot {

// A polyline on the site's UTM grid (easting, northing pairs), e.g. a section line A-A'.
struct SiteLine {
    std::vector<QPointF> points;
    bool empty() const { return points.size() < 2; }
};

// What a picture drew: texts in order, and the map from data (x, y in metres: easting/northing on the map,
// distance/elevation on the section) to the PNG's pixels.
struct PictureRecord {
    std::vector<std::string> texts;
    double x0 = 0, y0 = 0;         // data coordinates of the frame's left-bottom corner
    double pxPerX = 0, pxPerY = 0; // pixels per metre, right and up
    QPointF origin;                // the frame's left-bottom corner in pixels
    QPointF toPixel(double x, double y) const {
        return {origin.x() + (x - x0) * pxPerX, origin.y() - (y - y0) * pxPerY};
    }
};

struct SiteMapInput {
    std::vector<site::BoringProfile> borings;
    std::string title; // e.g. the site's name
    std::string zone;  // "18N"
    SiteLine section;  // drawn with its ends labelled A and A' when given
};

struct SectionInput {
    std::vector<site::BoringProfile> borings; // in the order of the line when no line is given
    SiteLine line;                            // default: through the borings in order
    double widthM = 0;                        // borings farther from the line are left out; 0: no limit
    double scalePctRe = 0;                    // %RE at full colour and full bar; 0: the greatest %RE shown
    double layerM = 0.1;                      // interpolation layers between borings
    ChannelColours colours;
    std::string title;
};

// The borings the section shows, with their distance along the line (metres), by distance.
struct SectionBoring {
    const site::BoringProfile* boring = nullptr;
    double chainage = 0, offset = 0;
};
std::vector<SectionBoring> sectionBorings(const SectionInput& input);

// The colour scale of %RE of both pictures: white at 0 through yellow and orange to a deep red at 1 (full).
QColor pctReRamp(double fraction);
// The map's classes of maximum %RE (the KML's too): green below 1, yellow below 10, orange below 50, red.
QColor pctReClass(double maxPctRe);

void renderSiteMap(QPainter& painter, const QRectF& rect, double dpi, const SiteMapInput& input,
                   PictureRecord* record = nullptr);
void renderSection(QPainter& painter, const QRectF& rect, double dpi, const SectionInput& input,
                   PictureRecord* record = nullptr);

// Shared by the two pictures: a round tick step giving about `ticks` intervals over span, and a text drawn
// with the given alignment against an anchor point (recorded when there is a record).
double niceStep(double span, int ticks);
void pictureText(QPainter& painter, const QPointF& anchor, const QString& text, Qt::Alignment align,
                 PictureRecord* record);
// A font of this many points at the picture's resolution.
QFont pictureFont(double points, double dpi, bool bold = false);

// PDF or PNG by the path's extension (".pdf", else PNG at dpi). False with the reason.
bool writeSitePicture(const std::string& path, int dpi,
                      const std::function<void(QPainter&, const QRectF&, double dpi, PictureRecord*)>& draw,
                      std::string& error, PictureRecord* record = nullptr);

} // namespace zel::plot
