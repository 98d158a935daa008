// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopColorSchemes.h>

#include <linux/CurrentDesktop.h>
#include <linux/InterfaceSettings.h>
#include <linux/KeyFile.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QObject>
#include <QString>

#include <boost/signals2/signal.hpp>

#include <algorithm>
#include <cctype>
#include <string>

namespace velmor {

namespace {

const QString xfconf = QStringLiteral("org.xfce.Xfconf");
const QString xfconfPath = QStringLiteral("/org/xfce/Xfconf");
const QString themeChannel = QStringLiteral("xsettings");
const QString themeProperty = QStringLiteral("/Net/ThemeName");
const QString panelChannel = QStringLiteral("xfce4-panel");
const QString panelProperty = QStringLiteral("/panels/dark-mode");

/// Themes say it in their name.
bool isDarkTheme(std::string name)
{
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name.find("dark") != std::string::npos;
}

} // namespace

class DesktopColorSchemes::Sources final : public QObject
{
    Q_OBJECT

public:
    explicit Sources(const std::filesystem::path& configuration)
        : m_interface([this] { changed(); })
    {
        if (isCurrentDesktop("LXQt")) {
            const auto file = KeyFile::read(configuration / "lxqt/lxqt.conf");
            const auto theme = file ? file->text("General", "theme") : std::nullopt;
            if (theme)
                m_lxqtIsDark = isDarkTheme(*theme);
        }
        if (!isCurrentDesktop("XFCE"))
            return;
        QDBusConnection::sessionBus().connect(xfconf, xfconfPath, xfconf, QStringLiteral("PropertyChanged"),
                                              this, SLOT(xfceChanged(QString, QString, QDBusVariant)));
        ask(themeChannel, themeProperty);
        ask(panelChannel, panelProperty);
    }

    std::optional<bool> areWindowsDark() const
    {
        if (isCurrentDesktop("KDE"))
            return std::nullopt;
        if (m_xfceThemeIsDark)
            return m_xfceThemeIsDark;
        return m_lxqtIsDark ? m_lxqtIsDark : m_interface.prefersDark();
    }

    std::optional<bool> arePanelsDark() const
    {
        // Xfce's panel can be dark under a light theme, GNOME's always is.
        if (m_xfcePanelIsDark && *m_xfcePanelIsDark)
            return true;
        if (isCurrentDesktop("GNOME"))
            return true;
        return areWindowsDark();
    }

    boost::signals2::signal<void()> changed;

private slots:
    void xfceChanged(const QString& channel, const QString& property, const QDBusVariant& value)
    {
        take(channel, property, value);
    }

private:
    /// Nobody is started for a question.
    void ask(const QString& channel, const QString& property)
    {
        QDBusMessage get =
            QDBusMessage::createMethodCall(xfconf, xfconfPath, xfconf, QStringLiteral("GetProperty"));
        get << channel << property;
        get.setAutoStartService(false);
        auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(get), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, channel, property, watcher] {
            const QDBusPendingReply<QDBusVariant> reply = *watcher;
            watcher->deleteLater();
            if (!reply.isError())
                take(channel, property, reply.value());
        });
    }

    void take(const QString& channel, const QString& property, const QDBusVariant& value)
    {
        if (channel == themeChannel && property == themeProperty)
            m_xfceThemeIsDark = isDarkTheme(value.variant().toString().toStdString());
        else if (channel == panelChannel && property == panelProperty)
            m_xfcePanelIsDark = value.variant().toBool();
        else
            return;
        changed();
    }

    InterfaceSettings m_interface;
    std::optional<bool> m_lxqtIsDark;
    std::optional<bool> m_xfceThemeIsDark;
    std::optional<bool> m_xfcePanelIsDark;
};

DesktopColorSchemes::DesktopColorSchemes(const std::filesystem::path& configuration)
    : m_sources(std::make_unique<Sources>(configuration))
{}

DesktopColorSchemes::~DesktopColorSchemes() = default;

std::optional<bool> DesktopColorSchemes::areWindowsDark() const
{
    return m_sources->areWindowsDark();
}

std::optional<bool> DesktopColorSchemes::arePanelsDark() const
{
    return m_sources->arePanelsDark();
}

Subscription DesktopColorSchemes::onChange(const std::function<void()>& callback)
{
    return m_sources->changed.connect(callback);
}

} // namespace velmor

#include "DesktopColorSchemes.moc"
