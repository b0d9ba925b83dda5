// The object path search: depth first, pre-order, first match wins, with route diagnostics.

#include "UIRemoteControl.h"

#include "RouteStack.h"
#include "SearchOrder.h"
#include "TraceLog.h"

#include <QQuickItem>

QString UIRemoteControl::GetObjectOrClassName(const QObject *object)
{
    if (!object)
        return QString();
    const QString name = object->objectName();
    return name.isEmpty() ? QString::fromLatin1(object->metaObject()->className()) : name;
}

bool UIRemoteControl::isDerivedFrom(const QObject *object, const QStringList &classNames)
{
    return SearchOrder::DerivesFrom(object, classNames);
}

QObject *UIRemoteControl::FindQMLObject(QObject *parent, QStringList names, RouteStack *route) const
{
    // The label is the object's name, else its class name (GetObjectOrClassName). The name is read
    // once: it is also what the head of the path is compared with (an unnamed object's name is
    // empty, whatever its label).
    QString label = parent ? parent->objectName() : QString();
    const bool named = !label.isEmpty();
    if (parent && !named)
        label = QString::fromLatin1(parent->metaObject()->className());
    // The address is shown by its low 32 bits, which is what the "%X" conversion takes.
    RC_LOG(TraceLog::Trace, "%s, pParent = [%X], name = [%s], objNames = [%s]", "UIRemoteControl::FindQMLObject",
           static_cast<unsigned>(reinterpret_cast<quintptr>(parent)), label.toLocal8Bit().constData(),
           names.join(QLatin1Char('.')).toLocal8Bit().constData());
    RouteStackGuard guard(label, route);
    if (!parent) {
        if (route)
            route->TakeSnapshot(QStringLiteral("invalid argument"));
        return nullptr;
    }
    if (!names.isEmpty() && (named ? label == names.constFirst() : names.constFirst().isEmpty()))
        names.removeFirst();
    if (names.isEmpty()) {
        if (route)
            route->TakeSnapshot(QStringLiteral("target found"));
        return parent;
    }
    for (QObject *child : parent->children()) {
        if (QObject *found = FindQMLObject(child, names, route))
            return found;
    }
    if (SearchOrder::IsRepeater(parent)) {
        if (QObject *found = FindQMLObjectForRepeater(parent, names, route))
            return found;
    }
    if (SearchOrder::IsFlickable(parent))
        return FindQMLObjectForFlickable(parent, names, route);
    return nullptr;
}

QObject *UIRemoteControl::FindQMLObjectForRepeater(const QObject *repeater, const QStringList &names,
                                                   RouteStack *route) const
{
    for (QQuickItem *child : SearchOrder::RepeaterDelegates(repeater)) {
        if (QObject *found = FindQMLObject(child, names, route))
            return found;
    }
    return nullptr;
}

QObject *UIRemoteControl::FindQMLObjectForFlickable(const QObject *flickable, const QStringList &names,
                                                    RouteStack *route) const
{
    for (QQuickItem *child : SearchOrder::FlickableDelegates(flickable)) {
        if (QObject *found = FindQMLObject(child, names, route))
            return found;
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// The visiting order

namespace {

const QStringList &RepeaterClasses()
{
    static const QStringList classes = {QStringLiteral("QQuickRepeater")};
    return classes;
}

} // namespace

namespace SearchOrder {

bool DerivesFrom(const QObject *object, const QStringList &classNames)
{
    if (!object)
        return false;
    for (const QMetaObject *meta = object->metaObject(); meta; meta = meta->superClass()) {
        const QLatin1String className(meta->className());
        for (const QString &candidate : classNames) {
            if (className.indexOf(candidate, 0, Qt::CaseSensitive) != -1)
                return true;
        }
    }
    return false;
}

// The guards skip class-name tests that cannot change the outcome: only items have repeater
// delegates, and a flickable's delegates hang below one of its children.
bool IsRepeater(const QObject *object)
{
    return qobject_cast<const QQuickItem *>(object) && DerivesFrom(object, RepeaterClasses());
}

bool IsFlickable(const QObject *object)
{
    static const QStringList classes = {QStringLiteral("QQuickFlickable"), QStringLiteral("QQuickGridView"),
                                        QStringLiteral("QQuickListView")};
    return !object->children().isEmpty() && DerivesFrom(object, classes);
}

QList<QQuickItem *> RepeaterDelegates(const QObject *repeater)
{
    QList<QQuickItem *> delegates;
    const auto *item = qobject_cast<const QQuickItem *>(repeater);
    if (QQuickItem *parentItem = item ? item->parentItem() : nullptr) {
        for (QQuickItem *child : parentItem->childItems()) {
            if (!DerivesFrom(child, RepeaterClasses()))
                delegates.append(child);
        }
    }
    return delegates;
}

QList<QQuickItem *> FlickableDelegates(const QObject *flickable)
{
    QList<QQuickItem *> delegates;
    for (QObject *child : flickable->children()) {
        if (auto *item = qobject_cast<QQuickItem *>(child))
            delegates.append(item->childItems());
    }
    return delegates;
}

QList<QObject *> Children(QObject *object)
{
    QList<QObject *> all = object->children();
    if (IsRepeater(object)) {
        for (QQuickItem *item : RepeaterDelegates(object))
            all.append(item);
    }
    if (IsFlickable(object)) {
        for (QQuickItem *item : FlickableDelegates(object))
            all.append(item);
    }
    return all;
}

} // namespace SearchOrder
