// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionReportChart.h>

#include <QFontMetricsF>
#include <QSharedPointer>
#include <QString>
#include <QVector>

#include <algorithm>
#include <cmath>
#include <qcustomplot.h>
#include <utility>
#include <vector>

namespace velmor {

namespace {

constexpr double lowestLevel = 0;
constexpr double highestLevel = 140;
constexpr double zoneOpacity = 0.32;
constexpr double targetOpacity = 0.8;
constexpr double cLineOpacity = 0.7;

/// Readings from which on lines are thinner.
constexpr std::size_t denseSeries = 1000;

/// A chart's key: seconds since its own beginning, so that nothing is lost in rounding.
struct TimeAxis
{
    Date from;
    Date to;

    TimeAxis(const Session& session, Date now)
        : from(session.startDate)
        , to(session.endDate.value_or(now))
    {
        // Where the clock was set during the session, the readings may lie outside of it.
        for (const SPLReading& reading : session.readings) {
            from = std::min(from, reading.timestamp);
            to = std::max(to, reading.timestamp);
        }
        to = std::max(from, to);
    }

    double key(Date date) const { return secondsBetween(from, date); }
    /// A chart of one moment has some room, too.
    double length() const { return std::max(key(to), 1.0); }
};

/// Marks at the values that it is given.
class FixedTicker final : public QCPAxisTicker
{
public:
    FixedTicker(QVector<double> keys, QStringList labels)
        : m_keys(std::move(keys))
        , m_labels(std::move(labels))
    {}

private:
    double getTickStep(const QCPRange&) override { return 1; }
    int getSubTickCount(double) override { return 0; }
    QVector<double> createTickVector(double, const QCPRange&) override { return m_keys; }
    QString getTickLabel(double tick, const QLocale&, QChar, int) override
    {
        const auto index = m_keys.indexOf(tick);
        return index >= 0 ? m_labels.at(index) : QString();
    }

    QVector<double> m_keys;
    QStringList m_labels;
};

class LevelTicker final : public QCPAxisTicker
{
    int getSubTickCount(double) override { return 0; }
    QString getTickLabel(double tick, const QLocale&, QChar, int) override
    {
        return QString::fromStdString(levelMark(tick));
    }
};

/// The stretches of the zones, from the chart's bottom to its top. They are behind everything, the grid
/// too, so that their shade can be mixed with the page's beforehand: where translucent bands touch, viewers
/// of PDF files draw darker lines.
class ZoneBands final : public QCPLayerable
{
public:
    ZoneBands(QCustomPlot& plot, const Session& session, const TimeAxis& time, const Shades& shades)
        : QCPLayerable(&plot, "background")
        , m_plot(plot)
        , m_runs(zoneRuns(session.readings))
        , m_time(time)
        , m_shades(shades)
    {}

private:
    QRect clipRect() const override { return m_plot.axisRect()->rect(); }
    void applyDefaultAntialiasingHint(QCPPainter* painter) const override { painter->setAntialiasing(true); }
    void draw(QCPPainter* painter) override
    {
        const QCPAxis& x = *m_plot.xAxis;
        const QCPAxis& y = *m_plot.yAxis;
        const double top = y.coordToPixel(highestLevel);
        const double bottom = y.coordToPixel(lowestLevel);
        painter->setPen(Qt::NoPen);
        // Each band reaches under the next one and, for those that are narrower than a pixel, at least so far
        // that no page shows between them: a short stretch is a faint one. Only a last one of a single
        // reading has no length.
        constexpr double leastReach = 1.5;
        double last = 0;
        for (const ZoneRun& run : m_runs)
            last = std::max(last, x.coordToPixel(m_time.key(run.end)));
        for (std::size_t i = 0; i < m_runs.size(); ++i) {
            const double start = x.coordToPixel(m_time.key(m_runs[i].start));
            const ZoneRun& next = m_runs[std::min(i + 1, m_runs.size() - 1)];
            const double end =
                std::min(std::max(x.coordToPixel(m_time.key(next.end)), start + leastReach), last);
            if (end > start)
                painter->fillRect(QRectF(start, top, end - start, bottom - top),
                                  mixed(m_shades.zone(m_runs[i].zone), m_shades.page, zoneOpacity));
        }
    }

    QCustomPlot& m_plot;
    std::vector<ZoneRun> m_runs;
    const TimeAxis& m_time;
    const Shades& m_shades;
};

/// The reference level as a dashed rule. Its label stands beyond the rule's end, where no line crosses it.
class TargetRule final : public QCPLayerable
{
public:
    TargetRule(QCustomPlot& plot, double target, const Shades& shades)
        : QCPLayerable(&plot, "main")
        , m_plot(plot)
        , m_target(target)
        , m_shades(shades)
    {}

    static QFont font() { return fontOf(TextStyle::caption, TextWeight::strong); }

    /// What the label takes of the chart's width.
    static double labelWidth(double target)
    {
        return QFontMetricsF(font()).horizontalAdvance(QString::fromStdString(targetLabel(target))) +
               2 * labelPadding;
    }

private:
    static constexpr double labelPadding = 4.0;

    void applyDefaultAntialiasingHint(QCPPainter* painter) const override { painter->setAntialiasing(true); }
    void draw(QCPPainter* painter) override
    {
        const QRectF area = m_plot.axisRect()->rect();
        const double y = m_plot.yAxis->coordToPixel(m_target);
        QPen pen(withOpacity(m_shades.green, targetOpacity), 1.0);
        pen.setCapStyle(Qt::FlatCap);
        pen.setDashPattern({4.0, 3.0});
        // On a band of its own colour the rule is seen by its edges.
        painter->setPen(QPen(withOpacity(m_shades.page, 0.6), 3.0, Qt::SolidLine, Qt::FlatCap));
        painter->drawLine(QLineF(area.left(), y, area.right(), y));
        painter->setPen(pen);
        painter->drawLine(QLineF(area.left(), y, area.right(), y));
        const QFontMetricsF metrics(font());
        painter->setFont(font());
        painter->setPen(QPen(m_shades.greenText));
        painter->drawText(QPointF(area.right() + 1 + labelPadding, y + metrics.capHeight() / 2),
                          QString::fromStdString(targetLabel(m_target)));
    }

    QCustomPlot& m_plot;
    double m_target;
    const Shades& m_shades;
};

bool isOnAxis(double level)
{
    return level >= lowestLevel && level <= highestLevel;
}

void styleAxis(QCPAxis& axis, const Shades& shades)
{
    axis.setTickLabelFont(fontOf(TextStyle::caption));
    axis.setTickLabelColor(shades.secondaryText);
    axis.setTickLabelPadding(6);
    axis.setTickLength(0);
    axis.setSubTicks(false);
    axis.setBasePen(QPen(shades.hairline, 1));
    axis.setTickPen(Qt::NoPen);
    axis.grid()->setPen(QPen(shades.hairline, 1));
    axis.grid()->setZeroLinePen(Qt::NoPen);
    axis.grid()->setAntialiased(false);
    axis.setPadding(0);
}

void setUpTimeAxis(QCPAxis& axis, const Session& session, const TimeAxis& time, double width,
                   const ReportCircumstances& circumstances)
{
    axis.setRange(0, time.length());
    const Calendar& calendar = circumstances.calendar;
    const ChartStride stride = chartTimeStride(session.duration(circumstances.now));
    const std::vector<Date> marks = chartMarks(stride, time.from, time.to, calendar);
    QStringList labels;
    double widest = 0;
    const QFontMetricsF metrics(fontOf(TextStyle::caption));
    for (const Date mark : marks) {
        labels.append(QString::fromStdString(markLabel(stride, mark, calendar)));
        widest = std::max(widest, metrics.horizontalAdvance(labels.back()) + spacing::item);
    }
    QVector<double> keys;
    for (const Date mark : marks)
        keys.append(time.key(mark));
    const double distance = keys.size() > 1 ? (keys.at(1) - keys.at(0)) / time.length() * width : width;
    const int step = static_cast<int>(std::clamp(std::ceil(widest / std::max(distance, 0.01)), 1.0, 1000.0));
    const std::vector<bool> labelled = labelledMarks(stride, marks, step, calendar);
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (!labelled[i])
            labels[static_cast<qsizetype>(i)].clear();
    }
    axis.setTicker(QSharedPointer<FixedTicker>::create(keys, labels));
}

void addLine(QCustomPlot& plot, const Session& session, double SPLReading::*level, const TimeAxis& time,
             const QColor& colour, double width)
{
    QVector<double> keys;
    QVector<double> levels;
    for (const SPLReading& reading : session.readings) {
        keys.append(time.key(reading.timestamp));
        // A history can hold any number; what is off the axis by far is drawn as far off as can be seen.
        levels.append(std::clamp(reading.*level, lowestLevel - highestLevel, 2 * highestLevel));
    }
    QCPGraph& graph = *plot.addGraph();
    QPen pen(colour, width);
    pen.setJoinStyle(Qt::BevelJoin);
    pen.setCapStyle(Qt::FlatCap);
    graph.setPen(pen);
    // On paper every reading is there.
    graph.setAdaptiveSampling(false);
    graph.setData(keys, levels);
}

} // namespace

void drawSessionChart(QCPPainter& painter, const QRectF& place, const Session& session, double target,
                      const ReportCircumstances& circumstances, const Shades& shades)
{
    const TimeAxis time(session, circumstances.now);
    QCustomPlot plot;
    plot.setBackground(Qt::NoBrush);
    plot.setNotAntialiasedElements(QCP::aeNone);

    const QFontMetricsF metrics(fontOf(TextStyle::caption));
    QCPAxisRect& area = *plot.axisRect();
    area.setAutoMargins(QCP::msNone);
    const auto left = static_cast<int>(std::ceil(metrics.horizontalAdvance("140") + spacing::tight));
    // The topmost label is half above the area, and is left out where it does not fit.
    const auto above = static_cast<int>(std::ceil(metrics.height() / 2)) + 2;
    const auto below = static_cast<int>(std::ceil(metrics.height() + spacing::tight));
    const int right = isOnAxis(target) ? static_cast<int>(std::ceil(TargetRule::labelWidth(target))) : 1;
    area.setMargins(QMargins(left, above, right, below));
    styleAxis(*plot.xAxis, shades);
    styleAxis(*plot.yAxis, shades);
    plot.yAxis->setBasePen(Qt::NoPen);
    plot.yAxis->setRange(lowestLevel, highestLevel);
    auto levels = QSharedPointer<LevelTicker>::create();
    levels->setTickCount(7);
    plot.yAxis->setTicker(levels);
    setUpTimeAxis(*plot.xAxis, session, time, place.width() - left - right, circumstances);

    // The plot owns them; what is made later is drawn above.
    new ZoneBands(plot, session, time, shades);
    if (isOnAxis(target))
        new TargetRule(plot, target, shades);
    const bool isDense = session.readings.size() >= denseSeries;
    addLine(plot, session, &SPLReading::dBA, time, shades.blue, isDense ? 1.0 : 1.5);
    if (hasCLevels(session.readings))
        addLine(plot, session, &SPLReading::dBC, time, withOpacity(shades.orange, cLineOpacity),
                isDense ? 0.75 : 1.0);

    painter.save();
    painter.translate(place.topLeft());
    plot.toPainter(&painter, static_cast<int>(place.width()), static_cast<int>(place.height()));
    painter.restore();
}

} // namespace velmor
