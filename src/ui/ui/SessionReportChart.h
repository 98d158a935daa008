// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sessions/Session.h>
#include <ui/SessionReportContent.h>
#include <ui/Style.h>

#include <QRectF>

class QCPPainter;

namespace velmor {

/// Draws a session's levels over time: its zones, the reference level, dBA and dBC.
/// \param place logical pixels or points. \param session with readings. \param target dBA, of the present
/// settings.
void drawSessionChart(QCPPainter& painter, const QRectF& place, const Session& session, double target,
                      const ReportCircumstances& circumstances, const Shades& shades);

} // namespace velmor
