// The plugin's worker (NormalWorker.h): the remote control the host framework's plugin drives.

#include "NormalWorker.h"

#include "PluginUIRemoteControl.h"
#include "TraceLog.h"
#include "UIRemoteControl.h"

#include <QVariantMap>

#include <new>

NormalWorker::NormalWorker(QQmlContext *context, PluginUIRemoteControl *parent) : QObject(parent), m_context(context)
{
}

NormalWorker::~NormalWorker()
{
    delete m_remoteControl;
    m_remoteControl = nullptr;
}

bool NormalWorker::start(const QVariant &initParams)
{
    if (m_remoteControl)
        return true;
    QObject *root = qvariant_cast<QObject *>(initParams.toMap().value(QStringLiteral("rootObj")));
    try {
        m_remoteControl = new UIRemoteControl(root, m_context, nullptr);
    } catch (const std::bad_alloc &) {
        RC_FIXED_ERROR("%s, UIRemoteControl object is not created.", "NormalWorker::start");
        return false;
    }
    return true;
}

bool NormalWorker::controlObject(const QVariant &request, QVariant &retValue)
{
    if (!m_remoteControl) {
        RC_FIXED_ERROR("%s, UI remote control is NULL", "NormalWorker::controlObject");
        return false;
    }
    return m_remoteControl->controlObject(request, retValue);
}
