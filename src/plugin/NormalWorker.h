#pragma once
// The plugin's worker: owns the in-process UIRemoteControl (no port) and forwards requests to it.

#include "IPluginWorker.h"

#include <QObject>

class QQmlContext;
class PluginUIRemoteControl;
class UIRemoteControl;

class NormalWorker : public QObject, public IPluginWorker {
public:
    NormalWorker(QQmlContext *context, PluginUIRemoteControl *parent);
    ~NormalWorker() override;

    bool start(const QVariant &initParams) override;
    bool controlObject(const QVariant &request, QVariant &retValue) override;

private:
    QQmlContext *m_context;
    UIRemoteControl *m_remoteControl = nullptr;
};
