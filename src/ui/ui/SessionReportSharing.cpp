// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionReportSharing.h>

#include <base/AtomicFile.h>
#include <base/FileText.h>
#include <base/Print.h>
#include <ui/PlainText.h>
#include <ui/QtSavePanel.h>

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QUrl>

#include <fmt/format.h>

#include <exception>
#include <system_error>
#include <utility>

namespace velmor {

namespace {

constexpr auto folderName = "Velmor Reports";

std::string fileName(const Session& session, const Calendar& calendar)
{
    const LocalTime start = calendar.localTime(session.startDate);
    return fmt::format("Velmor session {} {:02}{:02}.pdf", dayText(start), start.hour, start.minute);
}

/// \throws std::system_error
void write(const std::filesystem::path& place, std::string_view content, AtomicFile::Readers readers)
{
    AtomicFile file(place, readers);
    file.write(content);
    if (!file.commit())
        throw std::system_error(file.error());
}

void handleSaveResponse(const std::filesystem::path& temporaryFile, const std::filesystem::path& place,
                        QWidget* window)
{
    try {
        std::error_code error;
        const std::string content = fileText(temporaryFile, error);
        if (error)
            throw std::system_error(error);
        write(place, content, AtomicFile::Readers::asUsual);
    } catch (const std::exception& error) {
        showWarning(
            window, "Could not save report",
            fmt::format("{} (the PDF is still in your cache folder if you want to retry).", error.what()));
    }
}

QUrl addressOf(const std::filesystem::path& file)
{
    return QUrl::fromLocalFile(QFile::decodeName(file.c_str()));
}

/// As file managers take it, and for those of GNOME's line in their own form, too.
void copyToClipboard(const std::filesystem::path& file)
{
    auto* const data = new QMimeData;
    data->setUrls({addressOf(file)});
    data->setData(QStringLiteral("x-special/gnome-copied-files"), "copy\n" + addressOf(file).toEncoded());
    QGuiApplication::clipboard()->setMimeData(data);
}

} // namespace

void showWarning(QWidget* anchor, const std::string& title, const std::string& text)
{
    auto* const alert = new QMessageBox(QMessageBox::Warning, QStringLiteral("Velmor"),
                                        plainText(QString::fromStdString(title)), QMessageBox::Ok,
                                        anchor ? anchor->window() : nullptr);
    alert->setInformativeText(plainText(QString::fromStdString(text)));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->open();
}

SessionReportSharing::SubjectDelegate& SessionReportSharing::SubjectDelegate::shared()
{
    static SubjectDelegate delegate;
    return delegate;
}

SessionReportSharing::SessionReportSharing(const AppState& hub, ShareServices& services,
                                           std::filesystem::path caches)
    : m_hub(hub)
    , m_services(services)
    , m_folder(std::move(caches) / folderName)
{}

ReportCircumstances SessionReportSharing::circumstances() const
{
    return {m_hub.now(), m_hub.calendar(), m_hub.calibrationTrust.trust};
}

std::filesystem::path SessionReportSharing::writePDF(const Session& session,
                                                     const ReferenceLevelSettings& referenceSettings) const
{
    std::error_code error;
    std::filesystem::create_directories(m_folder, error);
    if (error)
        throw std::system_error(error);
    const std::filesystem::path file = m_folder / fileName(session, m_hub.calendar());
    write(file, sessionReportPdf(session, referenceSettings, circumstances()), AtomicFile::Readers::owner);
    return file;
}

void SessionReportSharing::presentSharePicker(const std::filesystem::path& file, QWidget& anchor,
                                              const std::optional<std::string>& subject)
{
    if (subject)
        SubjectDelegate::shared().subject = *subject;
    auto* const menu = new QMenu(&anchor);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QPointer<QWidget> place(&anchor);
    const auto offer = [&](const QString& text, auto act) {
        QObject::connect(menu->addAction(text), &QAction::triggered, menu, [place, act] {
            if (!act())
                showWarning(place, "Could not share report", "No program on this desktop could be asked.");
        });
    };
    ShareServices& services = m_services;
    offer(QStringLiteral("Send by E-Mail…"), [&services, file] { return services.sendByEmail(file); });
    offer(QStringLiteral("Open"), [&services, file] { return services.open(file); });
    offer(QStringLiteral("Show in File Manager"),
          [&services, file] { return services.showInFileManager(file); });
    menu->addSeparator();
    offer(QStringLiteral("Copy File"), [file] {
        copyToClipboard(file);
        return true;
    });
    menu->popup(anchor.mapToGlobal(anchor.rect().bottomLeft()));
}

void SessionReportSharing::renderAndShare(const Session& session,
                                          const ReferenceLevelSettings& referenceSettings, QWidget& anchor)
{
    presentSharePicker(writePDF(session, referenceSettings), anchor, std::nullopt);
}

void SessionReportSharing::shareOrWarn(const Session& session,
                                       const ReferenceLevelSettings& referenceSettings, QWidget& anchor,
                                       const std::optional<std::string>& subject)
{
    try {
        presentSharePicker(writePDF(session, referenceSettings), anchor, subject);
    } catch (const std::exception& error) {
        printLine("Share failed: {}", error.what());
        showWarning(&anchor, "Could not generate report",
                    fmt::format("{}. Try again, or check that you have free disk space.", error.what()));
    }
}

void SessionReportSharing::presentSaveDialog(const Session& session,
                                             const ReferenceLevelSettings& referenceSettings,
                                             QWidget* anchor) const
{
    std::filesystem::path file;
    try {
        file = writePDF(session, referenceSettings);
    } catch (const std::exception& error) {
        printLine("Save: PDF render failed: {}", error.what());
        return;
    }
    QtSavePanel panel(anchor);
    panel.ask({.type = SavedFileType::pdf,
               .suggestedName = file.filename().native(),
               .title = "Save Velmor session report",
               .message = "Choose where to save the PDF report."},
              [file, window = QPointer<QWidget>(anchor)](const std::optional<std::filesystem::path>& place) {
                  if (place)
                      handleSaveResponse(file, *place, window);
              });
}

} // namespace velmor
