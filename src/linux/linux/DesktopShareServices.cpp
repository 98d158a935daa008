// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopShareServices.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QUrl>

namespace velmor {

namespace {

QString textOf(const std::filesystem::path& path)
{
    return QFile::decodeName(path.c_str());
}

bool openByDesktop(const std::filesystem::path& place)
{
    return QProcess::startDetached(QStringLiteral("xdg-open"), {textOf(place)});
}

} // namespace

bool DesktopShareServices::sendByEmail(const std::filesystem::path& file)
{
    return QProcess::startDetached(QStringLiteral("xdg-email"), {QStringLiteral("--attach"), textOf(file)});
}

bool DesktopShareServices::open(const std::filesystem::path& file)
{
    return openByDesktop(file);
}

bool DesktopShareServices::showInFileManager(const std::filesystem::path& file)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return openByDesktop(file.parent_path());
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QStringList items = {QString::fromLatin1(QUrl::fromLocalFile(textOf(file)).toEncoded())};
    call << items << QString();
    auto* const answer = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer,
                     [answer, folder = file.parent_path()] {
                         if (answer->isError())
                             openByDesktop(folder);
                         answer->deleteLater();
                     });
    return true;
}

} // namespace velmor
