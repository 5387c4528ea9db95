#pragma once
// What the page tests read back from a written PDF: its page objects and the first page's media box. A
// plain scan of the file (the objects that describe pages are not compressed), no PDF library needed.

#include <cctype>
#include <sstream>
#include <string>
#include <vector>

namespace zel::plot::synthetic {

struct PdfFacts {
    int pages = 0;
    std::vector<double> mediaBox; // points: x0 y0 x1 y1
};

inline PdfFacts readPdfFacts(const std::string& pdf) {
    PdfFacts f;
    for (std::size_t pos = pdf.find("/Type"); pos != std::string::npos; pos = pdf.find("/Type", pos)) {
        pos += 5;
        std::size_t q = pos;
        while (q < pdf.size() && std::isspace(static_cast<unsigned char>(pdf[q])))
            ++q;
        // "/Page" and not "/Pages", the page tree's root.
        if (pdf.compare(q, 5, "/Page") == 0 && (q + 5 >= pdf.size() || pdf[q + 5] != 's')) ++f.pages;
    }
    const std::size_t box = pdf.find("/MediaBox");
    const std::size_t open = box == std::string::npos ? box : pdf.find('[', box);
    const std::size_t close = open == std::string::npos ? open : pdf.find(']', open);
    if (close != std::string::npos) {
        std::istringstream numbers(pdf.substr(open + 1, close - open - 1));
        for (double v; numbers >> v;)
            f.mediaBox.push_back(v);
    }
    return f;
}

} // namespace zel::plot::synthetic
