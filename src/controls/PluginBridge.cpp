// The host plugin bridge: joystick commands and plugin signals, called on host plugins by name.

#include "UIRemoteControl.h"

#include "TraceLog.h"

#include <QQmlContext>

QObject *UIRemoteControl::PluginObject(const QString &name) const
{
    return m_context ? qvariant_cast<QObject *>(m_context->contextProperty(name)) : nullptr;
}

namespace {

// Invokes a member of a host plugin by name; logs a missing plugin and a failed call.
void CallPlugin(QObject *plugin, const char *caller, const QString &pluginName, const QString &method,
                QGenericArgument a0 = QGenericArgument(), QGenericArgument a1 = QGenericArgument(),
                QGenericArgument a2 = QGenericArgument())
{
    if (!plugin)
        RC_FIXED_ERROR("%s, can not find plugin %s", caller, pluginName.toLocal8Bit().constData());
    if (!QMetaObject::invokeMethod(plugin, method.toLatin1().constData(), Qt::DirectConnection, a0, a1, a2))
        RC_FIXED_ERROR("%s, invoke plugin's method %s is failed", caller, method.toLocal8Bit().constData());
}

const QString kJoystickPlugin = QStringLiteral("JoystickPlugin");

} // namespace

void UIRemoteControl::DoAddJoystick(const ArgumentMap &args)
{
    const QStringList devices = args.value(QStringLiteral("joystick_list")).toStringList();
    CallPlugin(PluginObject(kJoystickPlugin), "UIRemoteControl::DoAddJoystick", kJoystickPlugin,
               QStringLiteral("onDeviceChanged"), QGenericArgument("const QStringList &", &devices));
}

void UIRemoteControl::DoJoystickButtonEvent(const ArgumentMap &args)
{
    const QString model = args.value(QStringLiteral("model_name")).toString();
    const int keyId = args.value(QStringLiteral("key_id")).toInt();
    CallPlugin(PluginObject(kJoystickPlugin), "UIRemoteControl::DoJoystickButtonEvent", kJoystickPlugin,
               QStringLiteral("handleButtonEvent"), QGenericArgument("const QString &", &model),
               QGenericArgument("int", &keyId));
}

void UIRemoteControl::MoveJoystick(const ArgumentMap &args)
{
    const double x = args.value(QStringLiteral("pos_x")).toDouble();
    const double y = args.value(QStringLiteral("pos_y")).toDouble();
    const double z = args.value(QStringLiteral("pos_z")).toDouble();
    CallPlugin(PluginObject(kJoystickPlugin), "UIRemoteControl::MoveJoystick", kJoystickPlugin,
               QStringLiteral("axisChanged"), QGenericArgument("double", &x), QGenericArgument("double", &y),
               QGenericArgument("double", &z));
}

void UIRemoteControl::EmitPluginSignal(const ArgumentMap &args)
{
    const QString pluginName = args.value(QStringLiteral("pluginName")).toString();
    CallPlugin(PluginObject(pluginName), "UIRemoteControl::EmitPluginSignal", pluginName,
               args.value(QStringLiteral("signalName")).toString());
}
