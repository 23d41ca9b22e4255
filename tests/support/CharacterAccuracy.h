#pragma once

#include <QString>

#include <algorithm>
#include <string>
#include <vector>

namespace tavi::test {

// How much of `expected` a recognition read: 1 - (edit distance / expected
// length), over characters (code points), as OCR accuracy is measured.
inline double characterAccuracy(const std::string& read, const std::string& expected) {
    const std::u32string a = QString::fromStdString(read).toStdU32String();
    const std::u32string b = QString::fromStdString(expected).toStdU32String();
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1] ? 1 : 0)});
            diagonal = above;
        }
    }
    return 1.0 - static_cast<double>(row[b.size()]) / static_cast<double>(b.size());
}

}  // namespace tavi::test
