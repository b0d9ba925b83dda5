// Host tree models: the model lookup through a host plugin and the value search by row path.

#include "UIRemoteControl.h"

#include "IKRVNTreeModel.h"
#include "TraceLog.h"

#include <QQmlContext>

namespace {

// The host hands tree models out as QObject pointers. A model object that is not an
// IKRVNTreeModel is treated as missing rather than called through a wrong type.
IKRVNTreeModel *AsTreeModel(QObject *object)
{
    return dynamic_cast<IKRVNTreeModel *>(object);
}

QObject *ToObject(const QVariant &value)
{
    return qobject_cast<QObject *>(qvariant_cast<QObject *>(value));
}

} // namespace

QObject *UIRemoteControl::GetModel(const QString &pluginName, const QString &methodName)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::GetModel");
    if (pluginName.isEmpty() || methodName.isEmpty()) {
        RC_FIXED_ERROR("%s, invalid message value", "UIRemoteControl::GetModel");
        return nullptr;
    }
    if (!m_context) {
        RC_FIXED_ERROR("%s, QQmlContext is NULL", "UIRemoteControl::GetModel");
        return nullptr;
    }
    QObject *plugin = PluginObject(pluginName);
    if (!plugin) {
        RC_FIXED_ERROR("%s, can not find plugin %s", "UIRemoteControl::GetModel", pluginName.toLocal8Bit().constData());
        return nullptr;
    }
    QObject *model = nullptr;
    if (!QMetaObject::invokeMethod(plugin, methodName.toLatin1().constData(), Qt::DirectConnection,
                                   QGenericReturnArgument("QObject *", &model))) {
        RC_FIXED_ERROR("%s, invoke plugin's method %s is failed", "UIRemoteControl::GetModel",
                 methodName.toLocal8Bit().constData());
        return nullptr;
    }
    return model;
}

QVariant UIRemoteControl::FindValueInModel(IKRVNTreeModel *model, QStringList rowPath, const QString &roleName)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::FindValueInModel");
    if (rowPath.isEmpty()) {
        RC_FIXED_ERROR("%s, invalid message value", "UIRemoteControl::FindValueInModel");
        return QVariant(false);
    }
    const int row = rowPath.takeFirst().toInt(nullptr, 10);
    if (!model) {
        RC_FIXED_ERROR("%s, child model is NULL", "UIRemoteControl::FindValueInModel");
        return QVariant();
    }
    if (!rowPath.isEmpty()) {
        IKRVNTreeModel *child = AsTreeModel(ToObject(model->valueByRole(row, IKRVNTreeModel::ChildModelRole)));
        if (!child) {
            RC_FIXED_ERROR("%s, child model is NULL", "UIRemoteControl::FindValueInModel");
            return QVariant();
        }
        return FindValueInModel(child, rowPath, roleName);
    }
    return model->valueByRoleName(row, roleName);
}

bool UIRemoteControl::DoGetModelValue(const ArgumentMap &args, QVariant &value)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoGetModelValue");
    const QStringList rowPath =
        args.value(QStringLiteral("mdlitemrowpth")).toString().split(QLatin1Char('/'), Qt::KeepEmptyParts, Qt::CaseSensitive);
    IKRVNTreeModel *model = AsTreeModel(GetModel(args.value(QStringLiteral("pluginname")).toString(),
                                                 args.value(QStringLiteral("method")).toString()));
    if (!model) {
        RC_FIXED_ERROR("%s, get model failed", "UIRemoteControl::DoGetModelValue");
        return false;
    }
    value = FindValueInModel(model, rowPath, args.value(QStringLiteral("mdlitemrolename")).toString());
    if (!value.isValid()) {
        RC_FIXED_ERROR("%s, get model item value failed", "UIRemoteControl::DoGetModelValue");
        return false;
    }
    return true;
}

bool UIRemoteControl::DoGetGroupModelValue(const ArgumentMap &args, QVariant &value)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoGetGroupModelValue");
    const QString groupName = args.value(QStringLiteral("grouprolename")).toString();
    const QStringList rowPath =
        args.value(QStringLiteral("mdlitemrowpth")).toString().split(QLatin1Char('/'), Qt::KeepEmptyParts, Qt::CaseSensitive);
    IKRVNTreeModel *model = AsTreeModel(GetModel(args.value(QStringLiteral("pluginname")).toString(),
                                                 args.value(QStringLiteral("method")).toString()));
    if (!model) {
        RC_FIXED_ERROR("%s, get model failed", "UIRemoteControl::DoGetGroupModelValue");
        return false;
    }
    if (groupName.isEmpty()) {
        RC_FIXED_ERROR("%s, invalid message value", "UIRemoteControl::DoGetGroupModelValue");
        return false;
    }
    // A null group model is reported by the value search as a missing model.
    value = FindValueInModel(model->groupModel(groupName, 0), rowPath,
                             args.value(QStringLiteral("mdlitemrolename")).toString());
    if (!value.isValid()) {
        RC_FIXED_ERROR("%s, get model item value failed", "UIRemoteControl::DoGetGroupModelValue");
        return false;
    }
    return true;
}

bool UIRemoteControl::DoGetFilterModelValue(const ArgumentMap &, QVariant &)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoGetFilterModelValue");
    return false; // accepted but not supported: always fails
}

