// Resolution of a message's naming keys to an object, a window and a visual item.

#include "UIRemoteControl.h"

#include "RouteStack.h"
#include "TraceLog.h"

#include <QGuiApplication>
#include <QJSValue>
#include <QQuickItem>
#include <QWindow>

QObject *UIRemoteControl::FindQMLObject(const ArgumentMap &args) const
{
    if (args.contains(QStringLiteral("method")))
        return FindUnnamedQMLObject(args);
    return FindNamedQMLObject(args);
}

QObject *UIRemoteControl::FindNamedQMLObject(const ArgumentMap &args) const
{
    const QString parent = args.value(QStringLiteral("parobjname")).toString();
    const QString name = args.value(QStringLiteral("objname")).toString();
    const QString path = parent.isEmpty() ? name : parent + QLatin1Char('.') + name;
    const QStringList names = path.split(QLatin1Char('.'), Qt::KeepEmptyParts, Qt::CaseSensitive);
    RouteStack route;
    QObject *found = FindQMLObject(m_root, names, &route);
    route.DumpSnapshots();
    if (!found)
        RC_ERROR("%s, can not find QObject %s", "UIRemoteControl::FindNamedQMLObject", path.toLocal8Bit().constData());
    return found;
}

QObject *UIRemoteControl::FindUnnamedQMLObject(const ArgumentMap &args) const
{
    QVariant value;
    if (!DoInvokeRetMethod(args, value)) {
        RC_ERROR("%s, can not get unnamed QObject", "UIRemoteControl::FindUnnamedQMLObject");
        return nullptr;
    }
    if (value.userType() == qMetaTypeId<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    QObject *object = qobject_cast<QObject *>(qvariant_cast<QObject *>(value));
    if (!object) {
        RC_ERROR("%s, the object is not a QObject", "UIRemoteControl::FindUnnamedQMLObject");
        return nullptr;
    }
    return object;
}

QWindow *UIRemoteControl::FindQMLWindow(const QString &name) const
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (window->objectName() == name)
            return window;
    }
    return m_window;
}

bool UIRemoteControl::FindWindowAndQuickItem(const ArgumentMap &args, const QString &caller, QWindow **window,
                                             QQuickItem **item) const
{
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    QWindow *foundWindow = winName.isEmpty() ? nullptr : FindQMLWindow(winName);
    if (!foundWindow) {
        RC_ERROR("%s, can not find QWindow %s", caller.toLocal8Bit().constData(), winName.toLocal8Bit().constData());
        return false;
    }
    auto *foundItem = qobject_cast<QQuickItem *>(FindQMLObject(args));
    if (!foundItem) {
        RC_ERROR("%s, can not find QQuickItem", caller.toLocal8Bit().constData());
        return false;
    }
    *window = foundWindow;
    *item = foundItem;
    return true;
}

