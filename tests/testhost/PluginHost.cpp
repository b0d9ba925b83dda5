#include "PluginHost.h"

#include <QMetaObject>
#include <QQmlContext>
#include <QQuickWindow>
#include <QUrl>

void HostScene::Publish(const QString &name, QObject *plugin)
{
    engine.rootContext()->setContextProperty(name, plugin);
}

void HostScene::Publish(const QString &name, const QVariant &value)
{
    engine.rootContext()->setContextProperty(name, value);
}

bool HostScene::Load(const QString &file)
{
    engine.load(QUrl::fromLocalFile(QStringLiteral(TEST_QML_DIR "/") + file));
    return Root() != nullptr;
}

QQmlContext *HostScene::Context() const
{
    return engine.rootContext();
}

QObject *HostScene::Root() const
{
    const QList<QObject *> roots = engine.rootObjects();
    return roots.isEmpty() ? nullptr : roots.first();
}

QQuickWindow *HostScene::Window() const
{
    return qobject_cast<QQuickWindow *>(Root());
}

PluginHost::PluginHost()
{
    loader.setFileName(LibraryPath());
}

QString PluginHost::LibraryPath()
{
    return QStringLiteral(UIRC_LIBRARY_PATH);
}

bool PluginHost::Load()
{
    return loader.isLoaded() || loader.load();
}

PluginBase *PluginHost::Instance()
{
    return qobject_cast<PluginBase *>(loader.instance());
}

void PluginHost::DestroyInstance()
{
    if (!loader.isLoaded())
        return;
    delete loader.instance();
}

PluginBase *PluginHost::Start(QQmlContext *context, QObject *root)
{
    PluginBase *plugin = Instance();
    if (!plugin || !plugin->InitialPluginBase(context, nullptr, nullptr))
        return nullptr;
    bool initialised = false;
    const QVariantMap params{{QStringLiteral("rootObj"), QVariant::fromValue<QObject *>(root)}};
    if (!CallInitialize(plugin, params, initialised) || !initialised)
        return nullptr;
    return plugin;
}

bool PluginHost::CallInitialize(QObject *plugin, const QVariant &initParams, bool &result)
{
    return QMetaObject::invokeMethod(plugin, "initialize", Qt::DirectConnection, Q_RETURN_ARG(bool, result),
                                     Q_ARG(QVariant, initParams));
}

bool PluginHost::CallControlObject(QObject *plugin, const QVariant &request, QVariantMap &result)
{
    return QMetaObject::invokeMethod(plugin, "controlObject", Qt::DirectConnection, Q_RETURN_ARG(QVariantMap, result),
                                     Q_ARG(QVariant, request));
}

QVariantMap PluginHost::Control(QObject *plugin, const QString &type, const QVariantMap &args)
{
    QVariantMap result;
    if (!CallControlObject(plugin, QVariantMap{{type, args}}, result))
        return QVariantMap();
    return result;
}
