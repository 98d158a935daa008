// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <discipline/ReferenceLevelSettings.h>
#include <sessions/Session.h>
#include <ui/PageWriter.h>
#include <ui/SessionReportContent.h>
#include <ui/Style.h>

#include <QPushButton>
#include <QRectF>
#include <QWidget>

class QCPPainter;

namespace velmor {

/// The report of a finished session on one page, as high as what is on it: the same on the screen and on
/// paper.
class SessionReportView final : public QWidget
{
public:
    static constexpr double pageWidth = 720.0;

    SessionReportView(Session session, ReferenceLevelSettings referenceSettings,
                      ReportCircumstances circumstances, QWidget* parent = nullptr);

    const Session& session() const { return m_session; }

    /// Shows the page as it would be made now.
    void refresh(const ReferenceLevelSettings& referenceSettings, const ReportCircumstances& circumstances);

    /// Draws the page at the painter's origin, in the view's size: points on paper.
    void draw(QCPPainter& painter, Appearance appearance) const;

private:
    struct Layout
    {
        double height = 0; ///< Down to the end of the page.
        QRectF link;       ///< The web address.
    };

    /// Without a painter it only measures.
    Layout lay(QCPPainter* painter, const Shades& shades) const;
    void layBrand(PageWriter& page, const Shades& shades) const;
    void layHeader(PageWriter& page, const Shades& shades) const;
    void layChart(PageWriter& page, const Shades& shades) const;
    void layChartLegend(PageWriter& page, const Shades& shades) const;
    void layDiscipline(PageWriter& page, const Shades& shades) const;
    void laySummary(PageWriter& page, const Shades& shades) const;
    QRectF layFooter(PageWriter& page, const Shades& shades) const;
    void measure();
    void describe();

    void paintEvent(QPaintEvent* event) override;

    Session m_session;
    ReferenceLevelSettings m_referenceSettings;
    ReportCircumstances m_circumstances;
    QPushButton* m_link;
};

} // namespace velmor
