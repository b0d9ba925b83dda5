// Property access, the window name of an item, and method invocation ("getpro", "setpro",
// "getwinname", "invoke", "invokeret").

#include "UIRemoteControl.h"

#include "ControlEngine.h"

#include "TraceLog.h"

#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickWindow>

bool UIRemoteControl::DoGetProperty(const ArgumentMap &args, QVariant &value)
{
    QObject *object = FindQMLObject(args);
    if (!object)
        return false;
    if (m_engine->m_extensions)
        return m_engine->ReadPropertyExtended(object, args, value);
    value = QQmlProperty::read(object, args.value(QStringLiteral("property")).toString());
    return value.isValid();
}

bool UIRemoteControl::DoSetProperty(const ArgumentMap &args)
{
    QObject *object = FindQMLObject(args);
    if (!object)
        return false;
    // Writing converts the value once per level of nesting (into a script value for "var").
    if (!m_engine->CheckNesting(args.value(QStringLiteral("propval")), "UIRemoteControl::DoSetProperty"))
        return false;
    if (m_engine->m_extensions)
        return m_engine->WritePropertyExtended(object, args);
    return QQmlProperty::write(object, args.value(QStringLiteral("property")).toString(),
                               args.value(QStringLiteral("propval")));
}

bool UIRemoteControl::DoGetWindowName(const ArgumentMap &args, QVariant &value)
{
    QObject *object = FindQMLObject(args);
    if (!object)
        return false;
    auto *item = qobject_cast<QQuickItem *>(object);
    if (!item) {
        RC_FIXED_ERROR("%s, the object is not a QQuickItem", "UIRemoteControl::DoGetWindowName");
        m_engine->SetFailureReason(QStringLiteral("%1 is not a visual item").arg(ArgumentsPath(args)));
        return false;
    }
    QQuickWindow *window = item->window();
    if (!window) {
        RC_FIXED_ERROR("%s, the object has no QQuickWindow", "UIRemoteControl::DoGetWindowName");
        m_engine->SetFailureReason(QStringLiteral("%1 is in no window").arg(ArgumentsPath(args)));
        return false;
    }
    // In extension mode a window without a name answers the name that finds it.
    value = QVariant(m_engine->m_extensions ? WindowName(window) : window->objectName());
    return true;
}

namespace {

// Calls method with up to ten QVariant arguments taken from "mthargs"; later elements are ignored.
bool InvokeWithVariants(QObject *object, const ArgumentMap &args, QGenericReturnArgument ret)
{
    const QByteArray method = args.value(QStringLiteral("method")).toString().toLocal8Bit();
    const QVariantList list = args.value(QStringLiteral("mthargs")).toList();
    QGenericArgument a[10];
    for (int i = 0; i < 10 && i < list.size(); ++i)
        a[i] = QGenericArgument("QVariant", &list.at(i));
    return QMetaObject::invokeMethod(object, method.constData(), Qt::DirectConnection, ret, a[0], a[1], a[2], a[3],
                                     a[4], a[5], a[6], a[7], a[8], a[9]);
}

} // namespace

bool UIRemoteControl::DoInvokeMethod(const ArgumentMap &args)
{
    QObject *object = FindNamedQMLObject(args);
    if (!object)
        return false;
    if (m_engine->m_extensions)
        return m_engine->InvokeTyped(object, args, nullptr);
    return InvokeWithVariants(object, args, QGenericReturnArgument());
}

bool UIRemoteControl::DoInvokeRetMethod(const ArgumentMap &args, QVariant &value) const
{
    QObject *object = FindNamedQMLObject(args);
    if (!object)
        return false;
    if (m_engine->m_extensions) {
        QVariant returned;
        if (!m_engine->InvokeTyped(object, args, &returned)) // checks the nesting of what it returns
            return false;
        value = m_engine->ReplyValue(returned);
        return true;
    }
    QVariant returned;
    if (!InvokeWithVariants(object, args, QGenericReturnArgument("QVariant", &returned)))
        return false;
    value = returned;
    return true;
}

