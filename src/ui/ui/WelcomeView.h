// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <integrations/TovikImporter.h>
#include <platform/DefaultsStore.h>
#include <ui/Card.h>
#include <ui/Style.h>

#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// Greets the user and offers to take over what Tovik, the program's predecessor, has exported. Main thread.
class WelcomeView final : public QWidget
{
public:
    /// \param onDismiss the user is done with it.
    WelcomeView(AppState& hub, DefaultsStore& defaults, std::function<void()> onDismiss);

    /// What was imported, after a success.
    const std::optional<ImportResult>& importResult() const { return m_importResult; }

    /// Why nothing was, after a failure.
    const std::optional<std::string>& importError() const { return m_importError; }

private:
    void runImport();
    void importFile(const std::filesystem::path& file);
    void dismissAndSuppress();
    void showState();
    QPushButton* defaultButton() const;
    QVBoxLayout& addOutcome(const char* label, const char* symbol, Tint tint);
    void showAppearance();
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

    AppState& m_hub;
    DefaultsStore& m_defaults;
    std::function<void()> m_onDismiss;
    std::optional<ImportResult> m_importResult;
    std::optional<std::string> m_importError;
    QVBoxLayout* m_layout;
    Card* m_outcome = nullptr;
    QPushButton* m_freshStart;
    QPushButton* m_import;
    QPushButton* m_done;
};

/// What the card says after an import, a line for each kind of things that it has brought.
std::vector<std::string> importSummary(const ImportResult& result);

} // namespace velmor
