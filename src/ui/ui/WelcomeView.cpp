// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/WelcomeView.h>

#include <ui/IconResolver.h>
#include <ui/Paragraph.h>
#include <ui/Style.h>
#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <fmt/format.h>

#include <QEvent>
#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QShortcut>
#include <QStandardPaths>
#include <QWindow>

#include <algorithm>
#include <exception>
#include <string_view>
#include <utility>

namespace velmor {

namespace {

constexpr int windowWidth = 480;
constexpr int leastHeight = 320;
constexpr int iconSize = 64;
constexpr int padding = static_cast<int>(spacing::page);

std::string counted(std::int64_t count, std::string_view thing)
{
    return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

} // namespace

std::vector<std::string> importSummary(const ImportResult& result)
{
    std::vector<std::string> lines;
    if (result.sessionCount > 0)
        lines.push_back(fmt::format("• {} ({} of history)", counted(result.sessionCount, "session"),
                                    counted(result.historyDays, "day")));
    if (result.targetCalibrationCount > 0)
        lines.push_back("• " + counted(result.targetCalibrationCount, "reference-level calibration"));
    if (result.calibrationProfileCount > 0)
        lines.push_back("• " + counted(result.calibrationProfileCount, "saved calibration profile"));
    if (result.micCorrectionRestored)
        lines.emplace_back("• Mic frequency correction restored");
    if (result.customDAWCount > 0)
        lines.push_back("• " + counted(result.customDAWCount, "custom DAW"));
    if (result.todayDoseRestored)
        lines.emplace_back("• Today's dose carried forward");
    if (!result.sourceVersion.empty()) {
        // Whatever a file calls its version.
        const auto shown = TovikImporter::sanitizedShortString;
        const std::string build =
            result.sourceBuild.empty() ? "" : fmt::format(" ({})", shown(result.sourceBuild));
        lines.push_back(fmt::format("From Tovik {}{}", shown(result.sourceVersion), build));
    }
    return lines;
}

WelcomeView::WelcomeView(AppState& hub, DefaultsStore& defaults, std::function<void()> onDismiss)
    : m_hub(hub)
    , m_defaults(defaults)
    , m_onDismiss(std::move(onDismiss))
    , m_layout(new QVBoxLayout(this))
    , m_freshStart(new QPushButton(QStringLiteral("I'm new — fresh start")))
    , m_import(new QPushButton(QStringLiteral("Import from Tovik…")))
    , m_done(new QPushButton(QStringLiteral("Done")))
{
    setWindowTitle(QStringLiteral("Welcome to Velmor"));
    auto* const icon = new QLabel;
    icon->setPixmap(IconResolver::applicationIcon().pixmap(iconSize));
    auto* const titles = new QVBoxLayout;
    titles->setSpacing(static_cast<int>(spacing::hair));
    titles->addStretch();
    titles->addWidget(
        new TextLabel("Welcome to Velmor.", TextStyle::title, TextWeight::strong, Tint::primary));
    titles->addWidget(new TextLabel("Renamed from Tovik — same app, fresh identity.", TextStyle::label,
                                    TextWeight::regular, Tint::secondary));
    titles->addStretch();
    auto* const header = new QHBoxLayout;
    header->setSpacing(static_cast<int>(spacing::group));
    header->addWidget(icon);
    header->addLayout(titles, 1);

    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(static_cast<int>(spacing::tight));
    buttons->addStretch();
    for (QPushButton* const button : {m_freshStart, m_import, m_done}) {
        button->setFont(fontOf(TextStyle::label, TextWeight::strong));
        button->setAutoDefault(true);
        buttons->addWidget(button);
    }
    connect(m_freshStart, &QPushButton::clicked, this, [this] { dismissAndSuppress(); });
    connect(m_import, &QPushButton::clicked, this, [this] { runImport(); });
    connect(m_done, &QPushButton::clicked, this, [this] { dismissAndSuppress(); });

    m_layout->setContentsMargins(padding, padding, padding, padding);
    m_layout->setSpacing(static_cast<int>(spacing::section));
    m_layout->addLayout(header);
    m_layout->addWidget(
        new Paragraph("Did you use Tovik before? Click below to import your sessions, settings, "
                      "and calibrations from your Tovik export file.",
                      TextStyle::label, TextWeight::regular, Tint::primary));
    m_layout->addStretch(1);
    m_layout->addLayout(buttons);
    connect(new QShortcut(QKeySequence(QKeySequence::Close), this), &QShortcut::activated, this,
            &QWidget::close);
    showAppearance();
    showState();
}

void WelcomeView::runImport()
{
    m_importResult.reset();
    m_importError.reset();
    showState();
    auto* const dialog = new QFileDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(QStringLiteral("Choose an Tovik export file"));
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilter(QStringLiteral("Tovik export files (*.json)"));
    dialog->setSupportedSchemes({QStringLiteral("file")});
    dialog->setDirectory(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& file) {
        // Some desktops report an empty name for none.
        if (!file.isEmpty())
            importFile(QFile::encodeName(file).toStdString());
    });
    dialog->open();
}

void WelcomeView::importFile(const std::filesystem::path& file)
{
    try {
        m_importResult = TovikImporter::importFromFile(
            file, {m_defaults, m_hub.sessionManager, m_hub.calendar(), m_hub.now()});
        // A calibration that is under way is of the devices and the level before.
        m_hub.cancelCalibrations();
        // At once: what the hub writes of its own until the window is dismissed would write over the import.
        m_hub.refreshAfterTovikImport();
    } catch (const std::exception& error) {
        m_importError = error.what();
    }
    showState();
}

void WelcomeView::dismissAndSuppress()
{
    m_defaults.set(TovikImporter::welcomeShownKey, true);
    // It may take the window away, and with it the callback.
    const auto onDismiss = m_onDismiss;
    onDismiss();
}

void WelcomeView::showState()
{
    if (m_outcome) {
        m_outcome->hide();
        m_outcome->deleteLater();
        m_outcome = nullptr;
    }
    if (m_importResult) {
        QVBoxLayout& card = addOutcome("Import complete", "checkmark.circle.fill", Tint::green);
        for (const std::string& line : importSummary(*m_importResult))
            card.addWidget(new TextLabel(line.c_str(), TextStyle::label, TextWeight::regular, Tint::primary));
    }
    if (m_importError) {
        QVBoxLayout& card = addOutcome("Couldn't import", "exclamationmark.triangle.fill", Tint::orange);
        auto* const text =
            new Paragraph(m_importError->c_str(), TextStyle::label, TextWeight::regular, Tint::primary);
        // A word of the file's, of any length, doesn't widen the window.
        QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        policy.setHeightForWidth(true);
        text->setSizePolicy(policy);
        card.addWidget(text);
    }
    if (m_outcome)
        m_outcome->show();
    m_freshStart->setVisible(!m_importResult);
    m_import->setVisible(!m_importResult);
    m_done->setVisible(m_importResult.has_value());
    defaultButton()->setFocus();
    setFixedSize(windowWidth, std::max(leastHeight, m_layout->heightForWidth(windowWidth)));
}

QPushButton* WelcomeView::defaultButton() const
{
    return m_importResult ? m_done : m_import;
}

QVBoxLayout& WelcomeView::addOutcome(const char* label, const char* symbol, Tint tint)
{
    constexpr int cardPadding = static_cast<int>(spacing::item);
    constexpr int placeOfCard = 2;
    m_outcome = new Card;
    auto* const rows = new QVBoxLayout(m_outcome);
    rows->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    rows->setSpacing(static_cast<int>(spacing::hair));
    auto* const title = new QHBoxLayout;
    title->setSpacing(static_cast<int>(spacing::tight));
    title->addWidget(new SymbolView(symbol, tint, iconSide::control));
    title->addWidget(new TextLabel(label, TextStyle::heading, TextWeight::strong, Tint::primary), 1);
    rows->addLayout(title);
    m_layout->insertWidget(placeOfCard, m_outcome);
    return *rows;
}

void WelcomeView::showAppearance()
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    const QColor onAccent = Qt::white;
    const QColor accent("#2466c9");
    m_freshStart->setStyleSheet(filledButtonStyle(shades.controlPressed, shades.text, shades.blue));
    for (QPushButton* const button : {m_import, m_done})
        button->setStyleSheet(filledButtonStyle(accent, onAccent, shades.text));
}

void WelcomeView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        showAppearance();
    QWidget::changeEvent(event);
}

// What the focused button has not taken for itself.
void WelcomeView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        defaultButton()->click();
    else
        QWidget::keyPressEvent(event);
}

void WelcomeView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && windowHandle())
        windowHandle()->startSystemMove();
    QWidget::mousePressEvent(event);
}

void WelcomeView::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), shadesOf(appearanceOf(palette())).page);
}

} // namespace velmor
