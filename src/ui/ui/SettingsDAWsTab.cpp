// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsDAWsTab.h>

#include <ui/ProgramIcon.h>
#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <QHBoxLayout>

#include <algorithm>
#include <set>

namespace velmor {

namespace {

constexpr auto runningMark = "running";

} // namespace

SettingsDAWsTab::SettingsDAWsTab(AppState& hub, Workspace& workspace)
    : m_hub(hub)
    , m_workspace(workspace)
    , m_list(new QVBoxLayout)
    , m_applications(new Picker)
    , m_customDAWName(new QLineEdit)
    , m_customBundleID(new QLineEdit)
    , m_refusal(new Paragraph("", TextStyle::label, TextWeight::regular, Tint::orange))
    , m_add(new CommandButton(CommandButton::Form::onCard, "Add DAW", ""))
{
    addDetected();
    addCustom();
    follow([this] { refreshList(); });
}

void SettingsDAWsTab::addDetected()
{
    SettingsSection& detected = addSection("Detected DAWs");
    auto* const list = new QWidget;
    list->setLayout(m_list);
    m_list->setContentsMargins(0, 0, 0, 0);
    m_list->setSpacing(static_cast<int>(spacing::hair));
    detected.add(list);
}

void SettingsDAWsTab::addCustom()
{
    SettingsSection& custom = addSection("Add Custom DAW");
    custom.addRow("Running or installed", m_applications);
    m_applications->setFixedWidth(fieldWidth);
    connect(m_applications, &QComboBox::activated, this, [this](int index) {
        const QString bundleID = m_applications->itemData(index).toString();
        if (bundleID.isEmpty())
            return;
        m_customBundleID->setText(bundleID);
        m_customDAWName->setText(m_applications->itemText(index));
    });
    custom.addRow("Name", m_customDAWName);
    custom.addRow("Bundle ID", m_customBundleID);
    custom.add(m_refusal);
    m_refusal->hide();
    custom.add(m_add);
    custom.addFooter(
        "A bundle ID is the name of the program's desktop file, as in org.ardour.Ardour, or else the name of "
        "its executable. Pick a program above to have it filled in.");
    for (QLineEdit* const field : {m_customDAWName, m_customBundleID}) {
        field->setFixedWidth(fieldWidth);
        connect(field, &QLineEdit::textChanged, this, [this] {
            m_refusal->hide();
            m_add->setEnabled(!m_customDAWName->text().trimmed().isEmpty() &&
                              !m_customBundleID->text().trimmed().isEmpty());
        });
        connect(field, &QLineEdit::returnPressed, this, [this] { addDAW(); });
    }
    m_add->setEnabled(false);
    connect(m_add, &CommandButton::clicked, this, [this] { addDAW(); });
}

void SettingsDAWsTab::addDAW()
{
    if (!m_add->isEnabled())
        return;
    const std::string bundleID = m_customBundleID->text().trimmed().toStdString();
    const std::map<std::string, std::string> watched = m_hub.dawDetection.watchedBundleIDs();
    const auto known = watched.find(bundleID);
    m_refusal->setVisible(known != watched.end());
    if (known != watched.end()) {
        m_refusal->setText(
            QStringLiteral("%1 is watched already.").arg(QString::fromStdString(known->second)));
        return;
    }
    m_hub.dawDetection.addCustomDAW(bundleID, m_customDAWName->text().trimmed().toStdString());
    m_customBundleID->clear();
    m_customDAWName->clear();
    refreshList();
    refreshApplications();
}

QWidget* SettingsDAWsTab::row(const std::string& bundleID, const std::string& name, bool isRunning)
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::item));
    auto* const symbol = new SymbolView(iconSide::control);
    const auto [icon, isNew] = m_icons.try_emplace(name);
    if (isNew) {
        if (const auto found = m_hub.dawIcons.icon(name))
            icon->second = programIcon(*found);
    }
    if (icon->second.isNull())
        symbol->show("pianokeys", Tint::secondary);
    else
        symbol->showProgram(icon->second);
    layout->addWidget(symbol);
    layout->addWidget(new TextLabel(name.c_str(), TextStyle::label, TextWeight::regular, Tint::primary), 1);
    if (isRunning)
        layout->addWidget(new TextLabel("Running", TextStyle::label, TextWeight::regular, Tint::green));
    if (!DAWDetectionService::isBuiltIn(bundleID)) {
        auto* const remove =
            new CommandButton(CommandButton::Form::alone, ("Remove " + name).c_str(), "minus.circle.fill");
        connect(remove, &CommandButton::clicked, this, [this, bundleID] {
            m_hub.dawDetection.removeCustomDAW(bundleID);
            refreshList();
            refreshApplications();
        });
        layout->addWidget(remove);
    }
    return row;
}

void SettingsDAWsTab::refreshList()
{
    const auto& active = m_hub.dawDetection.activeDAWs.get();
    std::map<std::string, std::string> wanted = m_hub.dawDetection.watchedBundleIDs();
    for (auto& [bundleID, name] : wanted) {
        if (active.contains(bundleID))
            name += runningMark;
    }
    if (wanted == m_shown)
        return;
    m_shown = wanted;
    while (QLayoutItem* const item = m_list->takeAt(0)) {
        item->widget()->deleteLater();
        delete item;
    }
    std::vector<std::pair<std::string, std::string>> byName;
    for (const auto& [bundleID, name] : m_hub.dawDetection.watchedBundleIDs())
        byName.emplace_back(name, bundleID);
    std::ranges::sort(byName);
    for (const auto& [name, bundleID] : byName)
        m_list->addWidget(row(bundleID, name, active.contains(bundleID)));
}

void SettingsDAWsTab::refreshApplications()
{
    m_applications->clear();
    m_applications->addItem(QStringLiteral("Choose a program…"));
    // Those that are watched already are none to add.
    std::set<std::string> seen;
    for (const auto& [bundleID, name] : m_hub.dawDetection.watchedBundleIDs())
        seen.insert(bundleID);
    for (const auto& applications :
         {m_workspace.runningApplications(), m_workspace.installedApplications()}) {
        std::vector<Application> sorted = applications;
        std::ranges::sort(sorted, {}, &Application::name);
        for (const Application& application : sorted) {
            if (!application.bundleID.empty() && seen.insert(application.bundleID).second)
                m_applications->addItem(QString::fromStdString(application.name),
                                        QString::fromStdString(application.bundleID));
        }
    }
}

void SettingsDAWsTab::showEvent(QShowEvent* event)
{
    refreshApplications();
    SettingsPage::showEvent(event);
}

} // namespace velmor
