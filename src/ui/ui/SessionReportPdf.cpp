// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionReportPdf.h>

#include <ui/PdfInformation.h>
#include <ui/SessionReportView.h>

#include <QBuffer>
#include <QPageSize>
#include <QPdfWriter>

#include <fmt/format.h>
#include <qcustomplot.h>

namespace velmor {

namespace {

constexpr auto author = "Velmor " VELMOR_VERSION;
constexpr int pointsPerInch = 72;

/// Fine enough that no edge of a character moves visibly.
constexpr int resolution = 1200;

QByteArray renderedPage(const SessionReportView& view)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(resolution);
    writer.setPageMargins({});
    writer.setPageSize(QPageSize(QSizeF(view.size()), QPageSize::Point, {}, QPageSize::ExactMatch));
    QCPPainter painter;
    if (!painter.begin(&writer))
        throw SharingError::contextCreationFailed();
    constexpr double scale = static_cast<double>(resolution) / pointsPerInch;
    painter.scale(scale, scale);
    view.draw(painter, Appearance::light);
    if (!painter.end())
        throw SharingError::contextCreationFailed();
    return buffer.data();
}

/// A date as documents have it, in UTC.
std::string documentDate(Date date)
{
    std::string digits;
    for (const char character : isoText(date)) {
        if (character >= '0' && character <= '9')
            digits += character;
    }
    return "D:" + digits + "Z";
}

} // namespace

std::string sessionReportPdf(const Session& session, const ReferenceLevelSettings& referenceSettings,
                             const ReportCircumstances& circumstances)
{
    const SessionReportView view(session, referenceSettings, circumstances);
    // Qt's writer knows no keywords, and dates a document by a clock of its own.
    return withInformation(
        renderedPage(view).toStdString(),
        {{"/Title", fmt::format("Velmor session report ({}, {})", reportTitle(session),
                                reportDate(session.startDate, circumstances.calendar))},
         {"/Author", author},
         {"/Creator", author},
         {"/Keywords", "calibration: " + calibrationText(circumstances.calibration, circumstances.now)},
         {"/CreationDate", documentDate(circumstances.now)}});
}

} // namespace velmor
