#pragma once
// A stand-in for the host framework. It does what the real host does with the remote-control
// plugin: finds it by file path, reads its metadata without running code, takes the plugin
// instance, casts it to the PluginBase interface, hands it the QML context of a real scene and
// then drives the invokables initialize() and controlObject() by name.

#include "PluginBase.h"

#include <QJsonObject>
#include <QPluginLoader>
#include <QQmlApplicationEngine>
#include <QString>
#include <QVariant>
#include <QVariantMap>

class QQmlContext;
class QQuickWindow;

// A QML scene of the host application. Host plugins are published as context properties of
// the engine's root context before the scene is loaded, as the host framework does.
class HostScene {
public:
    void Publish(const QString &name, QObject *plugin);
    void Publish(const QString &name, const QVariant &value);
    // Loads a scene from the test scene directory; true if it produced a root object.
    bool Load(const QString &file);

    QQmlContext *Context() const;
    QObject *Root() const;
    QQuickWindow *Window() const;

    QQmlApplicationEngine engine;
};

class PluginHost {
public:
    PluginHost();

    static QString LibraryPath();

    // Reads the plugin's metadata (no code of the plugin runs for this).
    QJsonObject MetaData() const { return loader.metaData(); }
    bool Load();

    // The plugin instance as the host sees it: through the interface cast.
    PluginBase *Instance();
    // Deletes the current plugin instance; the next Instance() gets a new one.
    void DestroyInstance();

    // The host's start-up: InitialPluginBase(context, ...) then initialize({"rootObj": root}).
    // Null if either step fails.
    PluginBase *Start(QQmlContext *context, QObject *root);

    // The invokables, called by name through the meta-object system as the host calls them.
    // They return false when the call itself could not be made.
    static bool CallInitialize(QObject *plugin, const QVariant &initParams, bool &result);
    static bool CallControlObject(QObject *plugin, const QVariant &request, QVariantMap &result);

    // controlObject() by name for a request {type: args}; an empty map if the call failed.
    static QVariantMap Control(QObject *plugin, const QString &type, const QVariantMap &args);

    QPluginLoader loader;
};
