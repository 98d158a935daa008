// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsGeneralTab.h>

#include <app/MenuBarDisplayMode.h>
#include <ui/CommandButton.h>
#include <ui/TextLabel.h>
#include <ui/WebAddresses.h>

#include <QHBoxLayout>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmor {

namespace {

constexpr StepRange detailedRetentionRange = {1, 90};

} // namespace

SettingsGeneralTab::SettingsGeneralTab(AppState& hub, std::function<void(const std::string& url)> openUrl,
                                       const std::function<void()>& showImporter)
    : m_hub(hub)
    , m_openUrl(std::move(openUrl))
{
    addSessions();
    addMenuBar();
    addNotifications();
    addStorage();
    addMigration(showImporter);
    addAbout();
}

void SettingsGeneralTab::addSessions()
{
    SettingsSection& sessions = addSection("Sessions");
    addSwitch(sessions, "Auto-start sessions when DAW launches", m_hub.settings.autoStartSessions);

    SettingsSection& login = addSection("Launch at Login");
    addSwitch(login, "Launch at Login", m_hub.settings.launchAtLogin);
    login.addFooter("Start Velmor automatically when you log in, so dose tracking begins as soon as your "
                    "computer is ready.");
}

void SettingsGeneralTab::addMenuBar()
{
    AppSettings& settings = m_hub.settings;
    SettingsSection& tray = addSection("Tray");
    std::vector<std::string> modes;
    for (const MenuBarDisplayModeRow& row : menuBarDisplayModes)
        modes.emplace_back(row.label);
    addPicker(
        tray, "Display", modes,
        [&settings] {
            const auto row = std::ranges::find(menuBarDisplayModes, settings.menuBarDisplayMode.get(),
                                               &MenuBarDisplayModeRow::value);
            return static_cast<int>(row - menuBarDisplayModes.begin());
        },
        [&settings](int index) {
            settings.menuBarDisplayMode = menuBarDisplayModes.at(static_cast<std::size_t>(index)).value;
        });
    tray.addText(
        "Choose what shows next to the tray item. The dose-state icon gives an at-a-glance colour cue based "
        "on "
        "today's accumulated dose; the live dBA or dBC reading replaces or sits next to the icon and updates "
        "four times per second. The number uses a monospaced font so the tray width stays steady. When the "
        "audio engine is stopped — between sessions or before the first measurement — the readout shows an "
        "em-dash rather than 0 dB so it's clear we're not measuring.");
    addSwitch(tray, "Show one decimal", settings.menuBarShowDecimal);
    addSwitch(tray, "Color-code reading by level", settings.menuBarColorEnabled);
    Stepper* const steppers[] = {
        &menuBarColorThresholdRow(tray, "Yellow at", settings.menuBarColorYellowAt,
                                  [&settings] { return yellowRange(settings.menuBarColorOrangeAt); }),
        &menuBarColorThresholdRow(
            tray, "Orange at", settings.menuBarColorOrangeAt,
            [&settings] { return orangeRange(settings.menuBarColorYellowAt, settings.menuBarColorRedAt); }),
        &menuBarColorThresholdRow(tray, "Red at", settings.menuBarColorRedAt,
                                  [&settings] { return redRange(settings.menuBarColorOrangeAt); })};
    follow([&settings, steppers = std::vector(std::begin(steppers), std::end(steppers))] {
        for (Stepper* const stepper : steppers)
            stepper->parentWidget()->setVisible(settings.menuBarColorEnabled);
    });
    tray.addText(
        "Defaults follow the NIOSH risk gradient: hearing dose starts accumulating at 80 dBA and doubles "
        "every 3 dB above 85, so 90+ dBA bands are where listening time becomes meaningfully limited.");

    addSwitch(tray, "Use classic ear icon", settings.menuBarUseClassicEarIcon);
    tray.addText(
        "The default icon's arcs reflect the live SPL, and its colour today's dose. The classic ear shows "
        "the dose alone.");
}

Stepper& SettingsGeneralTab::menuBarColorThresholdRow(SettingsSection& section, const char* title,
                                                      Setting<double>& value,
                                                      std::function<StepRange()> range)
{
    return addStepper(
        section, title, " dB", std::move(range), [&value] { return wholeDecibels(value.get()); },
        [&value](int level) { value = level; });
}

void SettingsGeneralTab::addNotifications()
{
    SettingsSection& notifications = addSection("Notifications");
    addSwitch(notifications, "Break through Do Not Disturb", m_hub.settings.timeSensitiveNotifications);
    notifications.addFooter(
        "When enabled, warning and danger dose alerts, peak impulse alerts, and 115 dBA ceiling "
        "alerts will break through Do Not Disturb. Session recaps and informational notifications "
        "are unaffected.");
}

void SettingsGeneralTab::addStorage()
{
    AppSettings& settings = m_hub.settings;
    SettingsSection& storage = addSection("Storage");
    const auto daysOf = [](const Setting<std::int64_t>& setting) {
        return [&setting] { return static_cast<int>(setting.get()); };
    };
    addStepper(
        storage, "Keep detailed time-series for", " days", [] { return detailedRetentionRange; },
        daysOf(settings.sessionDetailedRetentionDays),
        [&settings](int days) {
            settings.sessionDetailedRetentionDays = days;
            // What is shown of the other moves up with its bound: so does what is kept.
            settings.sessionTotalRetentionDays =
                std::max<std::int64_t>(settings.sessionTotalRetentionDays, totalRetentionRange(days).low);
        });
    addStepper(
        storage, "Keep sessions for", " days",
        [&settings] { return totalRetentionRange(settings.sessionDetailedRetentionDays); },
        daysOf(settings.sessionTotalRetentionDays),
        [&settings](int days) { settings.sessionTotalRetentionDays = days; });
    auto* const warning = new Paragraph("", TextStyle::label, TextWeight::regular, Tint::orange);
    storage.add(warning);
    follow([this, warning] {
        const std::int64_t days = m_hub.settings.sessionTotalRetentionDays;
        const std::size_t count = pendingSessionDeleteCount(m_hub.sessionManager.sessionHistory.get(), days,
                                                            m_hub.now(), m_hub.calendar());
        const auto text = pendingDeletionWarning(count, days);
        warning->setText(QString::fromStdString(text.value_or("")));
        warning->setVisible(text.has_value());
    });
    storage.addFooter(
        "Recent sessions keep a one-sample-per-10-seconds SPL time-series for the report chart. Older "
        "sessions get downsampled to one sample per 100 seconds. Beyond the total retention, sessions "
        "are deleted entirely. Changes apply on next launch so you can revert by quitting Velmor without "
        "restarting.");
}

void SettingsGeneralTab::addMigration(const std::function<void()>& showImporter)
{
    SettingsSection& migration = addSection("Migration");
    migration.addText(
        "Have an export file from Tovik? Click to import your sessions, settings, and calibrations.");
    auto* const button = new CommandButton(CommandButton::Form::onCard, "Import data from Tovik…", "");
    connect(button, &CommandButton::clicked, this, showImporter);
    migration.add(button);
}

QWidget* SettingsGeneralTab::infoRow(const char* label, const QString& text, const QString& link)
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new TextLabel(label, TextStyle::label, TextWeight::regular, Tint::primary));
    layout->addStretch(1);
    auto* const value = new QLabel;
    value->setFont(fontOf(TextStyle::label));
    value->setAccessibleName(QStringLiteral("%1: %2").arg(QString::fromUtf8(label), text));
    if (link.isEmpty()) {
        value->setTextFormat(Qt::PlainText);
        value->setText(text);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    } else {
        value->setTextFormat(Qt::RichText);
        value->setText(
            QStringLiteral("<a href=\"%1\">%2</a>").arg(link.toHtmlEscaped(), text.toHtmlEscaped()));
        value->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
        connect(value, &QLabel::linkActivated, this,
                [this](const QString& address) { m_openUrl(address.toStdString()); });
    }
    layout->addWidget(value);
    return row;
}

void SettingsGeneralTab::addAbout()
{
    SettingsSection& about = addSection("About");
    const QString website = QString::fromLatin1(web_addresses::website);
    const QString contact = QString::fromLatin1(web_addresses::contact);
    about.add(infoRow("Version", QStringLiteral(VELMOR_VERSION)));
    about.add(infoRow("Developer", QStringLiteral("Brightfen")));
    about.add(infoRow("Website", QUrl(website).host(), website));
    about.add(infoRow("Contact", QUrl(contact).path(), contact));
}

} // namespace velmor
