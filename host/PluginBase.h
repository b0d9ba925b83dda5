#pragma once
// Host framework: the base class of every plugin the framework loads. The host calls these
// operations through its own copy of this declaration, so the order of the virtual functions
// and of the data members must not change.

#include <QObject>
#include <QString>
#include <QVariant>

class QQmlContext;
class ConfigBase;
class FrameworkWrapperBase;

// Defined by the host's headers in every source file that includes them.
static const char FRAMEWORK_INTERNAL_ERROR[] = "{2C85B19D-AE6F-45D9-B8FE-DC436FCBEABE}FrameworkInternalError";

class PluginBase : public QObject {
public:
    explicit PluginBase(QObject *parent = nullptr) : QObject(parent) {}
    ~PluginBase() override = default;

    virtual bool InitialPluginBase(QQmlContext *context, void *hostData, FrameworkWrapperBase *frameworkWrapper) = 0;
    virtual void EventProcessor(QString, qint64, int, int, QVariant, const QString &) = 0;
    virtual void EventProcessorEx(QString, ConfigBase *, qint64, int, int, QVariant, const QString &) = 0;
    virtual void CommandProcessor(QString, QVariant, void *, QString, QString, bool, const QString &) = 0;
    virtual void CommandProcessorEx(QString, ConfigBase *, QVariant, void *, QString, QString, bool, const QString &) = 0;
    virtual bool Init(QQmlContext *context) = 0;
    // Four further operations of the host contract that plugins need not override.
    virtual void HostOperation7() {}
    virtual void HostOperation8() {}
    virtual void HostOperation9() {}
    virtual void HostOperation10() {}

protected:
    void *m_reserved = nullptr;
    QString m_pluginName;
    QString m_pluginID;
    void *m_hostData = nullptr;
    FrameworkWrapperBase *m_frameworkWrapper = nullptr;
};

#define PluginBase_iid "com.KORVANE.UIFramework.PluginInterface"
Q_DECLARE_INTERFACE(PluginBase, PluginBase_iid)
