// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/QtSavePanel.h>

#include <ui/PlainText.h>
#include <ui/Style.h>

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLayout>
#include <QMessageBox>
#include <QPointer>
#include <QStandardPaths>
#include <QString>

#include <algorithm>
#include <utility>

namespace velmor {

namespace {

struct TypeRow
{
    SavedFileType type;
    const char* mimeType;
    const char* suffix;
};

constexpr TypeRow types[] = {
    {SavedFileType::commaSeparatedText, "text/csv", "csv"},
    {SavedFileType::json, "application/json", "json"},
    {SavedFileType::pdf, "application/pdf", "pdf"},
};

const TypeRow& rowOf(SavedFileType type)
{
    return *std::ranges::find(types, type, &TypeRow::type);
}

/// Qt's own dialog has a place for a message; the desktop's has none.
void show(const QString& message, QFileDialog& dialog)
{
    if (!dialog.layout() || message.isEmpty())
        return;
    auto* const label = new QLabel(message, &dialog);
    label->setContentsMargins(static_cast<int>(spacing::item), static_cast<int>(spacing::item), 0, 0);
    dialog.layout()->setMenuBar(label);
}

/// On its window alone, or over all windows where it has none.
void present(QDialog& dialog)
{
    if (dialog.parentWidget()) {
        dialog.open();
        return;
    }
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.show();
}

std::filesystem::path pathOf(const QString& file)
{
    return QFile::encodeName(file).toStdString();
}

/// Desktops ask before a file is written over, but know nothing of a suffix that is added afterwards.
void answerWithSuffix(const QString& chosen, const QString& suffix, QWidget* window,
                      const SavePanel::Answer& answer)
{
    const QString file = QFileInfo(chosen).suffix().compare(suffix, Qt::CaseInsensitive) == 0
                             ? chosen
                             : QStringLiteral("%1.%2").arg(chosen, suffix);
    if (file == chosen || !QFileInfo::exists(file)) {
        answer(pathOf(file));
        return;
    }
    auto* const question = new QMessageBox(
        QMessageBox::Warning, QStringLiteral("Velmor"),
        plainText(
            QStringLiteral("%1 already exists. Do you want to replace it?").arg(QFileInfo(file).fileName())),
        QMessageBox::Yes | QMessageBox::No, window);
    question->setDefaultButton(QMessageBox::No);
    question->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(question, &QMessageBox::finished, question, [file, answer](int button) {
        answer(button == QMessageBox::Yes ? std::optional(pathOf(file)) : std::nullopt);
    });
    present(*question);
}

} // namespace

void QtSavePanel::ask(const SaveRequest& request, Answer answer)
{
    const TypeRow& type = rowOf(request.type);
    auto* const dialog = new QFileDialog(m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setMimeTypeFilters({QString::fromLatin1(type.mimeType)});
    dialog->setSupportedSchemes({QStringLiteral("file")});
    if (!request.title.empty())
        dialog->setWindowTitle(QString::fromStdString(request.title));
    // A program that the desktop has started begins there.
    if (dialog->directory().isRoot())
        dialog->setDirectory(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    dialog->selectFile(QString::fromStdString(request.suggestedName));
    show(QString::fromStdString(request.message), *dialog);
    QObject::connect(dialog, &QFileDialog::finished, dialog,
                     [dialog, window = QPointer<QWidget>(m_window), suffix = QString::fromLatin1(type.suffix),
                      answer = std::move(answer)](int result) {
                         const QStringList chosen = dialog->selectedFiles();
                         if (result == QDialog::Accepted && !chosen.isEmpty())
                             answerWithSuffix(chosen.front(), suffix, window, answer);
                         else
                             answer(std::nullopt);
                     });
    present(*dialog);
}

} // namespace velmor
