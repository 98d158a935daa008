// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionReportView.h>

#include <ui/IconResolver.h>
#include <ui/SessionReportChart.h>
#include <ui/WebAddresses.h>

#include <QDesktopServices>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <qcustomplot.h>
#include <utility>

namespace velmor {

namespace {

constexpr double chartHeight = 220.0;
constexpr double stripHeight = 10.0;

QString qt(const std::string& text)
{
    return QString::fromStdString(text);
}

void heading(PageWriter& page, const QString& text, const Shades& shades)
{
    const QFont font = fontOf(TextStyle::heading, TextWeight::strong);
    page.text(page.left(), page.y(), text, font, shades.text);
    page.skip(PageWriter::lineHeight(font) + spacing::item);
}

QString withoutReadings()
{
    return QStringLiteral("No detailed time-series for this session.");
}

/// The address without what only programs need.
QString visibleAddress()
{
    QString address = QString::fromLatin1(web_addresses::footer);
    return address.remove(QStringLiteral("https://"));
}

} // namespace

SessionReportView::SessionReportView(Session session, ReferenceLevelSettings referenceSettings,
                                     ReportCircumstances circumstances, QWidget* parent)
    : QWidget(parent)
    , m_session(std::move(session))
    , m_referenceSettings(std::move(referenceSettings))
    , m_circumstances(std::move(circumstances))
    , m_link(new QPushButton(this))
{
    // The page is drawn; what can be pressed on it lies above it, and has nothing to show but its focus.
    m_link->setStyleSheet(QStringLiteral("QPushButton { background: transparent; border: none; }"
                                         "QPushButton:focus { border: 1px solid palette(highlight); }"));
    m_link->setCursor(Qt::PointingHandCursor);
    m_link->setFocusPolicy(Qt::TabFocus);
    m_link->setAccessibleName(visibleAddress());
    connect(m_link, &QPushButton::clicked, this,
            [] { QDesktopServices::openUrl(QUrl(QString::fromLatin1(web_addresses::footer))); });
    measure();
}

void SessionReportView::refresh(const ReferenceLevelSettings& referenceSettings,
                                const ReportCircumstances& circumstances)
{
    m_referenceSettings = referenceSettings;
    m_circumstances = circumstances;
    measure();
    update();
}

void SessionReportView::measure()
{
    const Layout layout = lay(nullptr, shadesOf(Appearance::light));
    setFixedSize(static_cast<int>(pageWidth), static_cast<int>(std::ceil(layout.height)));
    m_link->setGeometry(layout.link.toAlignedRect().adjusted(-2, -2, 2, 2));
    describe();
}

void SessionReportView::draw(QCPPainter& painter, Appearance appearance) const
{
    // Lines and labels of the chart are drawn the same way on every device.
    painter.setModes(QCPPainter::pmVectorized | QCPPainter::pmNoCaching);
    painter.setAntialiasing(true);
    const Shades& shades = shadesOf(appearance);
    painter.fillRect(rect(), shades.page);
    lay(&painter, shades);
}

SessionReportView::Layout SessionReportView::lay(QCPPainter* painter, const Shades& shades) const
{
    PageWriter page(painter, spacing::page, pageWidth - 2 * spacing::page, spacing::page);
    layBrand(page, shades);
    page.skip(spacing::section);
    layHeader(page, shades);
    page.skip(spacing::section);
    layChart(page, shades);
    page.skip(spacing::section);
    if (m_session.hasMonitoringDisciplineData()) {
        layDiscipline(page, shades);
        page.skip(spacing::section);
    }
    laySummary(page, shades);
    page.skip(spacing::section);
    const QRectF link = layFooter(page, shades);
    return {page.y() + spacing::page, link};
}

void SessionReportView::layBrand(PageWriter& page, const Shades& shades) const
{
    constexpr double iconSize = 40;
    if (QCPPainter* const painter = page.painter()) {
        const QRectF place(page.left(), page.y(), iconSize, iconSize);
        IconResolver::drawApplicationIcon(*painter, place);
        // Its own dark ground ends somewhere on a dark page, too.
        constexpr double cornerRadius = iconSize * 15 / 64;
        painter->setPen(QPen(shades.hairline, 1));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(place, cornerRadius, cornerRadius);
    }
    const QFont nameFont = fontOf(TextStyle::heading, TextWeight::strong);
    const QFont kindFont = fontOf(TextStyle::label);
    const double textHeight = PageWriter::lineHeight(nameFont) + PageWriter::lineHeight(kindFont);
    const double x = page.left() + iconSize + spacing::item;
    const double y = page.y() + (iconSize - textHeight) / 2;
    page.text(x, y, QStringLiteral("Velmor"), nameFont, shades.text);
    page.text(x, y + PageWriter::lineHeight(nameFont), QStringLiteral("Session report"), kindFont,
              shades.secondaryText);
    page.skip(iconSize);
}

void SessionReportView::layHeader(PageWriter& page, const Shades& shades) const
{
    constexpr int mostLines = 6;
    page.paragraph(qt(reportTitle(m_session)), fontOf(TextStyle::title, TextWeight::strong), shades.text,
                   mostLines);
    page.skip(spacing::tight);
    const QFont font = fontOf(TextStyle::label);
    const double height = PageWriter::lineHeight(font);
    double x = page.left();
    const auto label = [&](std::string_view symbol, const std::string& text) {
        if (page.painter())
            IconResolver::draw(*page.painter(), {x, page.y(), height, height}, symbol, shades.secondaryText);
        x += height + spacing::hair + 2;
        x += page.text(x, page.y(), qt(text), font, shades.secondaryText) + spacing::section;
    };
    label("calendar", reportDate(m_session.startDate, m_circumstances.calendar));
    label("clock", m_session.durationFormatted(m_circumstances.now));
    page.skip(height);
}

void SessionReportView::layChart(PageWriter& page, const Shades& shades) const
{
    heading(page, QStringLiteral("SPL over time"), shades);
    const QRectF place(page.left(), page.y(), page.width(), chartHeight);
    if (!m_session.readings.empty()) {
        if (page.painter())
            drawSessionChart(*page.painter(), place, m_session, m_referenceSettings.target, m_circumstances,
                             shades);
    } else {
        const QString text = withoutReadings();
        const QFont font = fontOf(TextStyle::label);
        if (page.painter()) {
            page.painter()->setPen(QPen(shades.hairline, 1));
            page.painter()->setBrush(Qt::NoBrush);
            page.painter()->drawRoundedRect(place.adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
        }
        page.text(place.center().x() - PageWriter::textWidth(text, font) / 2,
                  place.center().y() - PageWriter::lineHeight(font) / 2, text, font, shades.secondaryText);
    }
    page.skip(chartHeight + spacing::item);
    layChartLegend(page, shades);
}

void SessionReportView::layChartLegend(PageWriter& page, const Shades& shades) const
{
    constexpr double zoneOpacity = 0.42;
    constexpr double swatch = 12;
    constexpr double gap = 6;
    const QFont font = fontOf(TextStyle::label);
    double x = page.left();
    x += page.dot(x, page.y(), shades.blue, QStringLiteral("dBA"), shades.secondaryText) + spacing::group;
    if (hasCLevels(m_session.readings))
        page.dot(x, page.y(), shades.orange, QStringLiteral("dBC"), shades.secondaryText);

    const std::pair<Zone, QString> zones[] = {{Zone::silent, QStringLiteral("Silent")},
                                              {Zone::under, QStringLiteral("Under")},
                                              {Zone::onTarget, QStringLiteral("On target")},
                                              {Zone::over, QStringLiteral("Over")}};
    double width = -spacing::group;
    for (const auto& [zone, label] : zones)
        width += swatch + gap + PageWriter::textWidth(label, font) + spacing::group;
    x = page.right() - width;
    const double height = PageWriter::lineHeight(font);
    for (const auto& [zone, label] : zones) {
        if (page.painter()) {
            page.painter()->setPen(Qt::NoPen);
            page.painter()->setBrush(withOpacity(shades.zone(zone), zoneOpacity));
            page.painter()->drawRoundedRect(QRectF(x, page.y() + (height - swatch) / 2, swatch, swatch), 3,
                                            3);
        }
        x += swatch + gap;
        x += page.text(x, page.y(), label, font, shades.secondaryText) + spacing::group;
    }
    page.skip(height);
}

void SessionReportView::layDiscipline(PageWriter& page, const Shades& shades) const
{
    const QFont headingFont = fontOf(TextStyle::heading, TextWeight::strong);
    const QFont labelFont = fontOf(TextStyle::label);
    const double difference = PageWriter::lineHeight(headingFont) - PageWriter::lineHeight(labelFont);
    page.textTo(page.right(), page.y() + difference,
                qt(bandText(m_session.monitoringTarget, m_session.monitoringTolerance)), labelFont,
                shades.secondaryText);
    heading(page, QStringLiteral("Monitoring discipline"), shades);

    const Score score = disciplineScore(m_session);
    const QFont scoreFont = fontOf(TextStyle::value, TextWeight::strong);
    page.text(page.left(), page.y(), qt(score.text), scoreFont, shades.ink(tintOf(score.grade)));
    page.skip(PageWriter::lineHeight(scoreFont) + spacing::tight);

    const DisciplineShares shares = disciplineShares(m_session);
    if (QCPPainter* const painter = page.painter()) {
        const QRectF strip(page.left(), page.y(), page.width(), stripHeight);
        painter->setPen(Qt::NoPen);
        painter->save();
        QPainterPath outline;
        outline.addRoundedRect(strip, stripHeight / 2, stripHeight / 2);
        painter->setClipPath(outline, Qt::IntersectClip);
        painter->fillRect(strip, withOpacity(shades.gray, 0.15));
        double x = strip.left();
        double widthBefore = 0;
        for (const auto& [share, colour] :
             {std::pair(shares.under, withOpacity(shades.blue, 0.55)),
              std::pair(shares.onTarget, shades.green), std::pair(shares.over, shades.orange)}) {
            // A history can hold any number; the strip ends where it ends.
            const double width = share > 0 ? std::min(share, 1.0) * strip.width() : 0;
            painter->fillRect(QRectF(x, strip.top(), width, strip.height()), colour);
            // In grey two of the colours are one shade.
            constexpr double edge = 1.5;
            if (std::min(width, widthBefore) > 2 * edge)
                painter->fillRect(QRectF(x - edge / 2, strip.top(), edge, strip.height()), shades.page);
            x += width;
            widthBefore = width;
        }
        painter->restore();
    }
    page.skip(stripHeight + spacing::tight);

    double x = page.left();
    const auto item = [&](const QColor& dot, const char* label, double seconds) {
        const QString text =
            QStringLiteral("%1 %2").arg(QLatin1String(label), qt(formatStripDuration(seconds)));
        x += page.dot(x, page.y(), dot, text, shades.secondaryText) + spacing::group;
    };
    item(withOpacity(shades.blue, 0.7), "under", m_session.timeUnderSec);
    item(shades.green, "on target", m_session.timeOnTargetSec);
    item(shades.orange, "over", m_session.timeOverSec);
    if (m_session.timeSilentSec > 0)
        page.text(x, page.y(),
                  QStringLiteral("silent %1").arg(qt(formatStripDuration(m_session.timeSilentSec))),
                  labelFont, shades.secondaryText);
    page.skip(PageWriter::lineHeight(labelFont));
}

void SessionReportView::laySummary(PageWriter& page, const Shades& shades) const
{
    constexpr int columns = 4;
    heading(page, QStringLiteral("Summary"), shades);
    const QFont labelFont = fontOf(TextStyle::label);
    const QFont valueFont = fontOf(TextStyle::value, TextWeight::strong);
    const double columnWidth = page.width() / columns;
    const double rowHeight = PageWriter::lineHeight(labelFont) + 2 + PageWriter::lineHeight(valueFont);
    int column = 0;
    for (const LabelledValue& item : summaryItems(m_session, m_referenceSettings)) {
        if (column == columns) {
            column = 0;
            page.skip(rowHeight + spacing::item);
        }
        if (column == 0) {
            page.rule(shades.hairline);
            page.skip(spacing::item);
        }
        const double x = page.left() + columnWidth * column++;
        page.text(x, page.y(), qt(item.label), labelFont, shades.secondaryText);
        page.text(x, page.y() + PageWriter::lineHeight(labelFont) + 2, qt(item.value), valueFont,
                  shades.text);
    }
    page.skip(rowHeight);
}

QRectF SessionReportView::layFooter(PageWriter& page, const Shades& shades) const
{
    page.rule(shades.hairline);
    page.skip(spacing::item);
    const QFont font = fontOf(TextStyle::caption);
    page.text(
        page.left(), page.y(),
        QStringLiteral("Generated %1").arg(qt(reportDate(m_circumstances.now, m_circumstances.calendar))),
        font, shades.secondaryText);
    const QRectF link = page.linkTo(page.right(), page.y(), visibleAddress(),
                                    QString::fromLatin1(web_addresses::footer), font, shades.blue);
    page.skip(PageWriter::lineHeight(font) + 2);
    constexpr int mostLines = 3;
    const QString calibration = qt(calibrationText(m_circumstances.calibration, m_circumstances.now));
    page.paragraph(QStringLiteral("Calibration: %1").arg(calibration), font, shades.secondaryText, mostLines);
    return link;
}

void SessionReportView::describe()
{
    setAccessibleName(QStringLiteral("Session report of %1").arg(qt(reportTitle(m_session))));
    QStringList figures = {qt(reportDate(m_session.startDate, m_circumstances.calendar)),
                           qt(m_session.durationFormatted(m_circumstances.now))};
    if (m_session.readings.empty())
        figures.append(withoutReadings());
    if (m_session.hasMonitoringDisciplineData())
        figures.append(QStringLiteral("Monitoring discipline %1: %2")
                           .arg(qt(bandText(m_session.monitoringTarget, m_session.monitoringTolerance)),
                                qt(disciplineScore(m_session).text)));
    for (const LabelledValue& item : summaryItems(m_session, m_referenceSettings))
        figures.append(QStringLiteral("%1: %2").arg(qt(item.label), qt(item.value)));
    setAccessibleDescription(figures.join(QStringLiteral(", ")));
}

void SessionReportView::paintEvent(QPaintEvent*)
{
    QCPPainter painter(this);
    draw(painter, appearanceOf(palette()));
}

} // namespace velmor
