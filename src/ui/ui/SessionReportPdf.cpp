// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionReportPdf.h>

#include <ui/SessionReportView.h>

#include <QBuffer>
#include <QPageSize>
#include <QPdfWriter>

#include <fmt/format.h>
#include <qcustomplot.h>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>

#include <memory>

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

/// Qt's writer knows no keywords, and dates a document by a clock of its own.
std::string withInformation(const QByteArray& page, const Session& session,
                            const ReportCircumstances& circumstances)
{
    QPDF document;
    document.processMemoryFile("report", page.constData(), static_cast<std::size_t>(page.size()));
    QPDFObjectHandle information = QPDFObjectHandle::newDictionary();
    const auto note = [&information](const char* key, const std::string& text) {
        information.replaceKey(key, QPDFObjectHandle::newUnicodeString(text));
    };
    note("/Title", fmt::format("Velmor session report ({}, {})", reportTitle(session),
                               reportDate(session.startDate, circumstances.calendar)));
    note("/Author", author);
    note("/Creator", author);
    note("/Keywords", "calibration: " + calibrationText(circumstances.calibration, circumstances.now));
    note("/CreationDate", documentDate(circumstances.now));
    document.getTrailer().replaceKey("/Info", document.makeIndirectObject(information));

    QPDFWriter writer(document);
    writer.setOutputMemory();
    writer.setObjectStreamMode(qpdf_o_generate);
    writer.setDeterministicID(true);
    writer.write();
    const std::shared_ptr<Buffer> result = writer.getBufferSharedPointer();
    const auto* const bytes = result->getBuffer();
    return {bytes, bytes + result->getSize()};
}

} // namespace

std::string sessionReportPdf(const Session& session, const ReferenceLevelSettings& referenceSettings,
                             const ReportCircumstances& circumstances)
{
    const SessionReportView view(session, referenceSettings, circumstances);
    return withInformation(renderedPage(view), session, circumstances);
}

} // namespace velmor
