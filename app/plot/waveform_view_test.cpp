#include "app/plot/waveform_view.h"

#include <QImage>

#include <gtest/gtest.h>

#include <algorithm>
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

} // namespace
} // namespace zel::plot
