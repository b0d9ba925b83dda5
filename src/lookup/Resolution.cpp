// Resolution of a message's naming keys to an object, a window and a visual item.

#include "UIRemoteControl.h"

#include "ControlEngine.h"
#include "Resolution.h"

#include "RouteStack.h"
#include "SceneTree.h"
#include "Selector.h"
#include "TraceLog.h"

#include <QGuiApplication>
#include <QJSValue>
#include <QQuickItem>
#include <QQuickWindow>
#include <QWindow>

QObject *UIRemoteControl::FindQMLObject(const ArgumentMap &args) const
{
    if (args.contains(QStringLiteral("method")))
        return FindUnnamedQMLObject(args);
    return FindNamedQMLObject(args);
}

QObject *UIRemoteControl::FindNamedQMLObject(const ArgumentMap &args) const
{
    // In extension mode a handle names the object, whatever the path says.
    if (m_engine->m_extensions && args.contains(QStringLiteral("handle")))
        return m_engine->ObjectOfHandle(args.value(QStringLiteral("handle")));
    const QString parent = args.value(QStringLiteral("parobjname")).toString();
    const QString name = args.value(QStringLiteral("objname")).toString();
    const QString path = parent.isEmpty() ? name : parent + QLatin1Char('.') + name;
    // In extension mode a segment in braces is a selector; paths of names take the name search
    // (a path without '{' has no selector and always parses).
    Selector::Path segments;
    QString error;
    if (m_engine->m_extensions && path.contains(QLatin1Char('{')) && !Selector::Parse(path, segments, &error)) {
        RC_ERROR("%s, %s in %s", "UIRemoteControl::FindNamedQMLObject", error.toLocal8Bit().constData(),
                 path.toLocal8Bit().constData());
        m_engine->SetFailureReason(QStringLiteral("%1 in %2").arg(error, path));
        return nullptr;
    }
    // The route only feeds the trace: without a log library nothing would ever read it.
    RouteStack route;
    RouteStack *tracedRoute = TraceLog::Enabled() ? &route : nullptr;
    QObject *found = nullptr;
    if (Selector::HasSelector(segments))
        found = Selector::Find(m_root, segments, tracedRoute);
    else
        found = FindQMLObject(m_root, path.split(QLatin1Char('.'), Qt::KeepEmptyParts, Qt::CaseSensitive), tracedRoute);
    route.DumpSnapshots();
    if (!found) {
        RC_FIXED_ERROR("%s, can not find QObject %s", "UIRemoteControl::FindNamedQMLObject", path.toLocal8Bit().constData());
        if (m_engine->m_extensions) {
            m_engine->SetFailureReason(m_engine->NoMatchReason(path));
            m_engine->m_missedObject = true;
        }
    }
    return found;
}

QObject *UIRemoteControl::FindUnnamedQMLObject(const ArgumentMap &args) const
{
    QVariant value;
    // In extension mode replies show objects as {"type", "path"}; here the object itself counts.
    QObject *owner = m_engine->m_extensions ? FindNamedQMLObject(args) : nullptr;
    if (m_engine->m_extensions ? !owner || !m_engine->InvokeTyped(owner, args, &value) : !DoInvokeRetMethod(args, value)) {
        RC_FIXED_ERROR("%s, can not get unnamed QObject", "UIRemoteControl::FindUnnamedQMLObject");
        return nullptr;
    }
    if (value.userType() == qMetaTypeId<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    QObject *object = qobject_cast<QObject *>(qvariant_cast<QObject *>(value));
    if (!object) {
        RC_FIXED_ERROR("%s, the object is not a QObject", "UIRemoteControl::FindUnnamedQMLObject");
        m_engine->SetFailureReason(QStringLiteral("method '%1' returned no object").arg(args.value(QStringLiteral("method")).toString()));
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
    // In extension mode nameless windows answer to the names getwinname gives them.
    if (m_engine->m_extensions) {
        if (QWindow *window = WindowNamed(name))
            return window;
    }
    return m_window;
}

QWindow *WindowNamed(const QString &name)
{
    if (name.isEmpty())
        return nullptr;
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (QWindow *window : windows) {
        if (window->objectName() == name)
            return window;
    }
    for (QWindow *window : windows) {
        if (window->objectName().isEmpty() && WindowName(window) == name)
            return window;
    }
    return nullptr;
}

QString WindowName(QWindow *window)
{
    if (!window)
        return QString();
    if (!window->objectName().isEmpty())
        return window->objectName();
    auto *quick = qobject_cast<QQuickWindow *>(window);
    const QList<QQuickItem *> roots = quick ? quick->contentItem()->childItems() : QList<QQuickItem *>();
    if (!roots.isEmpty() && !roots.first()->objectName().isEmpty())
        return roots.first()->objectName();
    const QString id = roots.isEmpty() ? QString() : SceneTree::QmlId(roots.first());
    if (!id.isEmpty())
        return id;
    return QStringLiteral("%1#%2").arg(Selector::TypeName(window)).arg(QGuiApplication::topLevelWindows().indexOf(window));
}

bool UIRemoteControl::FindWindowAndQuickItem(const ArgumentMap &args, const QString &caller, QWindow **window,
                                             QQuickItem **item) const
{
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    QWindow *foundWindow = winName.isEmpty() ? nullptr : FindQMLWindow(winName);
    // In extension mode an action that names no window acts in its item's own window.
    if (!foundWindow && winName.isEmpty() && m_engine->m_extensions) {
        QObject *object = FindQMLObject(args);
        auto *foundItem = qobject_cast<QQuickItem *>(object);
        if (foundItem && foundItem->window()) {
            *window = foundItem->window();
            *item = foundItem;
            return true;
        }
        if (!object)
            return false;
        m_engine->SetFailureReason(foundItem ? QStringLiteral("%1 is in no window").arg(ArgumentsPath(args))
                                             : QStringLiteral("%1 is not a visual item").arg(ArgumentsPath(args)));
        return false;
    }
    if (!foundWindow) {
        RC_FIXED_ERROR("%s, can not find QWindow %s", caller.toLocal8Bit().constData(), winName.toLocal8Bit().constData());
        m_engine->SetFailureReason(winName.isEmpty() ? QStringLiteral("no window given (winobjname)")
                                           : QStringLiteral("window '%1' not found").arg(winName));
        return false;
    }
    QObject *object = FindQMLObject(args);
    auto *foundItem = qobject_cast<QQuickItem *>(object);
    if (!foundItem) {
        RC_FIXED_ERROR("%s, can not find QQuickItem", caller.toLocal8Bit().constData());
        if (object)
            m_engine->SetFailureReason(QStringLiteral("%1 is not a visual item").arg(ArgumentsPath(args)));
        return false;
    }
    *window = foundWindow;
    *item = foundItem;
    return true;
}


bool NamesObject(const ArgumentMap &args)
{
    return args.contains(QStringLiteral("handle")) || !args.value(QStringLiteral("objname")).toString().isEmpty();
}

QString ArgumentsPath(const ArgumentMap &args)
{
    if (args.contains(QStringLiteral("handle")))
        return QStringLiteral("object %1").arg(args.value(QStringLiteral("handle")).toString());
    const QString parent = args.value(QStringLiteral("parobjname")).toString();
    const QString name = args.value(QStringLiteral("objname")).toString();
    return parent.isEmpty() ? name : parent + QLatin1Char('.') + name;
}
