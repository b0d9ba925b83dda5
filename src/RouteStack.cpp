#include "RouteStack.h"

#include "TraceLog.h"

void RouteStack::TakeSnapshot(const QString &message)
{
    snapshots.append(message + QStringLiteral(": [") + route.join(QStringLiteral("] > [")) + QLatin1Char(']'));
}

void RouteStack::DumpSnapshots() const
{
    for (const QString &snapshot : snapshots)
        RC_LOG(TraceLog::Route, "%s, %s", "RouteStack::DumpSnapshots", snapshot.toLocal8Bit().constData());
}
