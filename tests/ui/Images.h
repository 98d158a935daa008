// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QString>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace velmor::test {

/// How much two pictures differ, as means over the channels of pixels, 0 to 255.
struct Difference
{
    double whole = 255;     ///< Over all of them.
    double worstTile = 255; ///< Over the 16 by 16 pixels that differ most: a word that is missing shows here.
};

inline Difference difference(const QImage& a, const QImage& b)
{
    if (a.size() != b.size())
        return {};
    constexpr int side = 16;
    const QImage first = a.convertToFormat(QImage::Format_RGB888);
    const QImage second = b.convertToFormat(QImage::Format_RGB888);
    double sum = 0;
    double worst = 0;
    for (int top = 0; top < first.height(); top += side) {
        for (int left = 0; left < first.width(); left += side) {
            double tile = 0;
            int count = 0;
            for (int y = top; y < std::min(top + side, first.height()); ++y) {
                const uchar* const one = first.constScanLine(y);
                const uchar* const other = second.constScanLine(y);
                for (int i = 3 * left; i < 3 * std::min(left + side, first.width()); ++i, ++count)
                    tile += std::abs(int(one[i]) - int(other[i]));
            }
            sum += tile;
            worst = std::max(worst, tile / count);
        }
    }
    return {sum / (3.0 * first.width() * first.height()), worst};
}

/// Compares with the reviewed picture of that name. One that is missing or differs is written to the
/// folder of the temporary files, to be looked at.
inline void expectReference(const QImage& image, const QString& name)
{
    // One antialiased edge more or less, as another FreeType draws it, stays below these.
    constexpr Difference tolerance = {0.6, 12};
    const QString reference = QStringLiteral(VELMOR_UI_GOLDEN "/%1.png").arg(name);
    const Difference found = difference(image, QImage(reference));
    if (found.whole <= tolerance.whole && found.worstTile <= tolerance.worstTile)
        return;
    const auto seen = std::filesystem::temp_directory_path() / (name.toStdString() + ".png");
    image.save(QString::fromStdString(seen.native()));
    ADD_FAILURE() << name.toStdString() << " differs by " << found.whole << ", a part of it by "
                  << found.worstTile << "; what was drawn is " << seen;
}

} // namespace velmor::test
