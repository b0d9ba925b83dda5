#pragma once
// The plugin face of the library: the host framework loads it under the interface identifier
// "com.KORVANE.UIFramework.PluginInterface", initialises it with its QML context and then runs
// controls in-process through the invokable controlObject().

#include "UIRemoteControlGlobal.h"

#include "PluginBase.h"

#include <QVariantMap>

class IPluginWorker;

class UIREMOTECONTROL_EXPORT PluginUIRemoteControl : public PluginBase {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PluginBase_iid FILE "PluginUIRemoteControl.json")
    Q_INTERFACES(PluginBase)
public:
    explicit PluginUIRemoteControl(QObject *parent = nullptr);
    ~PluginUIRemoteControl() override;

    bool InitialPluginBase(QQmlContext *context, void *hostData, FrameworkWrapperBase *frameworkWrapper) override;
    void EventProcessor(QString, qint64, int, int, QVariant, const QString &) override;
    void EventProcessorEx(QString, ConfigBase *, qint64, int, int, QVariant, const QString &) override;
    void CommandProcessor(QString, QVariant, void *, QString, QString, bool, const QString &) override;
    void CommandProcessorEx(QString, ConfigBase *, QVariant, void *, QString, QString, bool, const QString &) override;
    bool Init(QQmlContext *context) override;

    void ErrorProcessor(QString, void *, QString);

    // Creates the remote-control object from {"rootObj": <scene root>}; a second call does nothing.
    Q_INVOKABLE bool initialize(const QVariant &initParams);
    // Runs one control request: {"success": bool, "retValue": value} ("retValue" only with a worker).
    Q_INVOKABLE QVariantMap controlObject(const QVariant &request);

    QString PluginName() const { return m_pluginName; }
    QString PluginID() const { return m_pluginID; }
    void *HostData() const { return m_hostData; }
    FrameworkWrapperBase *FrameworkWrapper() const { return m_frameworkWrapper; }

protected:
    virtual bool createWorker();

private:
    QQmlContext *m_context = nullptr;
    IPluginWorker *m_worker = nullptr;
};
