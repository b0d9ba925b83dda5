// The Qt plugin entry (PluginUIRemoteControl.h): what the host framework loads and calls in process.

#include "PluginUIRemoteControl.h"

#include "NormalWorker.h"
#include "TraceLog.h"

#include <new>

PluginUIRemoteControl::PluginUIRemoteControl(QObject *parent) : PluginBase(parent) {}

PluginUIRemoteControl::~PluginUIRemoteControl()
{
    RC_FIXED_TRACE_SCOPE("PluginUIRemoteControl::~PluginUIRemoteControl");
    // The worker goes first (it deletes the remote-control object), before QObject deletes children.
    delete m_worker;
    m_worker = nullptr;
}

bool PluginUIRemoteControl::InitialPluginBase(QQmlContext *context, void *hostData, FrameworkWrapperBase *frameworkWrapper)
{
    m_pluginName = QStringLiteral("UIRemoteControlPlugin");
    m_pluginID = QStringLiteral("8C4BDDE57A9A47518E9965083B827BB6");
    m_hostData = hostData;
    m_frameworkWrapper = frameworkWrapper;
    return Init(context);
}

bool PluginUIRemoteControl::Init(QQmlContext *context)
{
    RC_FIXED_TRACE_SCOPE("PluginUIRemoteControl::Init");
    m_context = context;
    return createWorker();
}

bool PluginUIRemoteControl::createWorker()
{
    NormalWorker *worker = new (std::nothrow) NormalWorker(m_context, this);
    if (!worker) {
        RC_FIXED_ERROR("%s, create plugin worker failed", "PluginUIRemoteControl::createWorker");
        return false;
    }
    m_worker = worker;
    return true;
}

void PluginUIRemoteControl::EventProcessor(QString, qint64, int, int, QVariant, const QString &)
{
    RC_FIXED_TRACE_SCOPE("PluginUIRemoteControl::EventProcessor");
}

void PluginUIRemoteControl::EventProcessorEx(QString, ConfigBase *, qint64, int, int, QVariant, const QString &)
{
    RC_FIXED_TRACE_SCOPE("PluginUIRemoteControl::EventProcessorEx");
}

void PluginUIRemoteControl::CommandProcessor(QString, QVariant, void *, QString, QString, bool, const QString &)
{
    RC_FIXED_TRACE_SCOPE("PluginUIRemoteControl::CommandProcessor");
}

void PluginUIRemoteControl::CommandProcessorEx(QString, ConfigBase *, QVariant, void *, QString, QString, bool, const QString &)
{
    RC_FIXED_TRACE_SCOPE("PluginUIRemoteControl::CommandProcessorEx");
}

void PluginUIRemoteControl::ErrorProcessor(QString, void *, QString)
{
    RC_FIXED_TRACE_SCOPE("PluginUIRemoteControl::ErrorProcessor");
}

bool PluginUIRemoteControl::initialize(const QVariant &initParams)
{
    if (!m_worker) {
        RC_FIXED_ERROR("%s, plugin worker is NULL", "PluginUIRemoteControl::initialize");
        return false;
    }
    return m_worker->start(initParams);
}

QVariantMap PluginUIRemoteControl::controlObject(const QVariant &request)
{
    QVariantMap result;
    if (!m_worker) {
        RC_FIXED_ERROR("%s, plugin worker is NULL", "PluginUIRemoteControl::controlObject");
        result.insert(QStringLiteral("success"), false);
        return result;
    }
    QVariant retValue;
    const bool success = m_worker->controlObject(request, retValue);
    result.insert(QStringLiteral("success"), success);
    result.insert(QStringLiteral("retValue"), retValue);
    return result;
}
