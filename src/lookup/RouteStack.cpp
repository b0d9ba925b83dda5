// The search route (RouteStack.h): snapshots of the objects a search visits, and their trace lines.

#include "RouteStack.h"

#include "TraceLog.h"

#include <QObject>

QString RouteStack::Label(const QObject *object)
{
    if (!object)
        return QString();
    const QString name = object->objectName();
    return name.isEmpty() ? QString::fromLatin1(object->metaObject()->className()) : name;
}

void RouteStack::TakeSnapshot(const QString &message)
{
    QStringList labels;
    int object = 0;
    for (int i = 0; i < route.size(); ++i) {
        // An object pushed when i text labels were on the route came before the i-th one.
        for (; object < m_objects.size() && m_objects.at(object).after <= i; ++object)
            labels.append(Label(m_objects.at(object).object));
        labels.append(route.at(i));
    }
    for (; object < m_objects.size(); ++object)
        labels.append(Label(m_objects.at(object).object));
    snapshots.append(message + QStringLiteral(": [") + labels.join(QStringLiteral("] > [")) + QLatin1Char(']'));
}

void RouteStack::DumpSnapshots() const
{
    for (const QString &snapshot : snapshots)
        RC_FIXED_LOG(TraceLog::Route, "%s, %s", "RouteStack::DumpSnapshots", snapshot.toLocal8Bit().constData());
}
