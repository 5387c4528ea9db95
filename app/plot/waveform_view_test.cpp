#include "app/plot/waveform_view.h"

#include <QImage>

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

namespace zel::plot {
namespace {

// Every text the view draws, from a paint into an image of the given size.
std::vector<std::string> textsOf(const WaveformView& base, QSize size = {480, 320}) {
    std::vector<std::string> texts;
    WaveformView v = base;
    v.textSink = [&](std::string_view t, const QRectF&) { texts.emplace_back(t); };
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter p(&image);
    paintWaveform(p, QRectF(0, 0, size.width(), size.height()), v);
    return texts;
}

bool has(const std::vector<std::string>& texts, const std::string& t) {
    return std::find(texts.begin(), texts.end(), t) != texts.end();
}

TEST(WaveformView, EveryChannelIsNamedTheLastOneIncluded) {
    const std::vector<float> wave(100, 1.0f);
    struct Case {
        std::vector<int> boundaries;
        std::vector<std::string> labels;
        std::vector<std::string> drawn;
    };
    const Case cases[] = {
        {{20, 40, 60}, {"CH1", "CH2", "CH3", "CH4"}, {"CH1", "CH2", "CH3", "CH4"}},
        // Fewer boundaries than labels: the channel after the last boundary is named, the rest are not.
        {{20, 40}, {"CH1", "CH2", "CH3", "CH4"}, {"CH1", "CH2", "CH3"}},
        {{20, 40, 60}, {"A", "B", "C"}, {"A", "B", "C"}},
    };
    for (const Case& c : cases) {
        WaveformView v;
        v.wave = wave;
        v.boundaries = c.boundaries;
        v.channelLabels = c.labels;
        const auto texts = textsOf(v);
        for (const std::string& l : c.labels)
            EXPECT_EQ(has(texts, l), std::find(c.drawn.begin(), c.drawn.end(), l) != c.drawn.end()) << l;
    }
}

TEST(WaveformView, ABrightREIsScaledToThePointAndTheLegendSaysSo) {
    struct Case {
        float rePeak;
        const char* legend;
    };
    for (const Case& c :
         {Case{100.0f, "RE x0.01"}, Case{2.0f, "RE"}, Case{3.0f, "RE"}, Case{20.0f, "RE x0.05"}}) {
        std::vector<float> wave(50, 0.0f), re(50, 0.0f);
        wave[10] = 1.0f;
        re[12] = c.rePeak;
        WaveformView v;
        v.wave = wave;
        v.re = re;
        v.deltaX = 0.4e-9;
        const auto texts = textsOf(v);
        EXPECT_TRUE(has(texts, c.legend)) << c.rePeak;
        EXPECT_TRUE(has(texts, "point"));
        EXPECT_TRUE(has(texts, "Time (ns)"));
        EXPECT_FALSE(has(texts, "background")); // none given
    }
}

struct Drawn {
    QRectF plotArea;
    std::vector<std::pair<std::string, QRectF>> texts;
    bool startsWith(const std::string& start) const {
        return std::any_of(texts.begin(), texts.end(),
                           [&](const auto& t) { return t.first.rfind(start, 0) == 0; });
    }
    // The value axis's labels: the numbers left of the plot.
    double highestValueLabel() const {
        double top = -1e300;
        for (const auto& [text, r] : texts)
            if (r.right() <= plotArea.left() + 0.5)
                if (double v = 0; std::from_chars(text.data(), text.data() + text.size(), v).ptr ==
                                      text.data() + text.size() &&
                                  !text.empty())
                    top = std::max(top, v);
        return top;
    }
};

Drawn paint(const WaveformView& base, QSize size) {
    Drawn d;
    WaveformView v = base;
    v.textSink = [&](std::string_view t, const QRectF& r) { d.texts.emplace_back(std::string(t), r); };
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter p(&image);
    d.plotArea = paintWaveform(p, QRectF(0, 0, size.width(), size.height()), v);
    return d;
}

TEST(WaveformView, CalloutsLeaveThePlotItsRoomAndNeverDwarfThePoint) {
    std::vector<float> wave(200, 0.0f);
    wave[40] = 1.0f;
    struct Case {
        int callouts;
        float calloutPeak;
        QSize size;
        const char* scaleNote; // the common scale's note, or nothing
    };
    const Case cases[] = {
        {1, 0.5f, {460, 340}, nullptr},
        {2, 2.0f, {460, 340}, nullptr},
        {5, 20.0f, {460, 340}, "Callouts x0.05:"},
        {5, 100.0f, {300, 220}, "Callouts x0.01:"},
        {3, 3.5f, {640, 480}, "Callouts x0.29:"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.callouts);
        SCOPED_TRACE(c.size.width());
        WaveformView v;
        v.wave = wave;
        v.deltaX = 0.4e-9;
        for (int i = 0; i < c.callouts; ++i) {
            CalloutWave cw;
            cw.slot = i;
            cw.top = 2.0 * i;
            cw.bottom = 2.0 * i + 1.5;
            cw.average.assign(200, 0.0f);
            cw.average[static_cast<std::size_t>(60 + 10 * i)] = c.calloutPeak * (i + 1) / c.callouts;
            cw.meanSignal = 10.0 * (i + 1);
            cw.caption = "Band" + std::to_string(i + 1);
            v.callouts.push_back(cw);
        }
        const Drawn with = paint(v, c.size);
        v.callouts.clear();
        const Drawn without = paint(v, c.size);
        // The plot keeps its width and most of its height.
        EXPECT_GE(with.plotArea.width(), 0.95 * without.plotArea.width()); // (its labels may differ)
        EXPECT_GE(with.plotArea.height(), 0.75 * without.plotArea.height());
        // The value axis is still the point's: callouts far above it are brought down to it.
        EXPECT_LE(with.highestValueLabel(), std::max(1.2, 1.2 * (c.scaleNote ? 1.0 : c.calloutPeak)));
        EXPECT_EQ(with.startsWith(c.scaleNote ? c.scaleNote : "Callouts x"), c.scaleNote != nullptr);
        // Each callout is named with its %RE, or counted among those left out.
        int named = 0;
        for (int i = 0; i < c.callouts; ++i)
            named += with.startsWith("Band" + std::to_string(i + 1) + "  ");
        EXPECT_EQ(with.startsWith("+" + std::to_string(c.callouts - named) + " more"), named < c.callouts);
        EXPECT_TRUE(c.size.width() < 460 || named == c.callouts) << named;
        EXPECT_TRUE(with.startsWith("Band1  0.0-1.5 ft  10.0 %RE") || with.startsWith("Band1  10.0 %RE"));
    }
}

TEST(WaveformView, TheTimeAxisHasTwoLabelsAtLeastHoweverNarrow) {
    const std::vector<float> wave(1006, 1.0f); // 402 ns: just over a round 400
    for (int width : {160, 220, 480, 900}) {
        WaveformView v;
        v.wave = wave;
        v.deltaX = 0.4e-9;
        const Drawn d = paint(v, {width, 200});
        int labels = 0;
        for (const auto& [text, r] : d.texts) {
            double t = 0;
            const bool number =
                !text.empty() &&
                std::from_chars(text.data(), text.data() + text.size(), t).ptr == text.data() + text.size();
            labels += number && r.top() >= d.plotArea.bottom() - 0.5;
        }
        EXPECT_GE(labels, 2) << width;
        // The value axis takes what its labels need, and never most of a narrow view.
        EXPECT_GE(d.plotArea.width(), 0.55 * width) << width;
    }
}

} // namespace
} // namespace zel::plot
