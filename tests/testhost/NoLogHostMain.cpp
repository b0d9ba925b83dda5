// A host program for the run without a log library. It is not linked with the remote-control
// library: it loads it by path as a plugin, the way the host framework does, so the library's
// load-time set-up runs inside QPluginLoader with no log library to be found. It then goes the
// plugin's whole way (InitialPluginBase, initialize, controlObject, deletion, unload) and writes
// what each step answered into the file named by its only argument. It writes nothing to
// standard output or standard error itself, so whatever appears there came from the library or
// from Qt.

#include "PluginHost.h"

#include <QFile>
#include <QGuiApplication>
#include <QStringList>

#include <dlfcn.h>

namespace {

QString Word(bool value) { return value ? QStringLiteral("true") : QStringLiteral("false"); }

// "success=<bool> retValue=<value>", "<invalid>" for a reply without value.
QString Describe(const QVariantMap &reply)
{
    const QVariant value = reply.value(QStringLiteral("retValue"));
    return QStringLiteral("success=%1 retValue=%2")
        .arg(reply.contains(QStringLiteral("success")) ? Word(reply.value(QStringLiteral("success")).toBool())
                                                       : QStringLiteral("<none>"))
        .arg(value.isValid() ? value.toString() : QStringLiteral("<invalid>"));
}

QStringList RunThePluginPath()
{
    QStringList steps;
    HostScene scene;
    if (!scene.Load(QStringLiteral("plugin_scene.qml")))
        return {QStringLiteral("scene did not load")};

    PluginHost host;
    steps << QStringLiteral("load ") + Word(host.Load());
    PluginBase *plugin = host.Instance();
    steps << QStringLiteral("instance ") + Word(plugin != nullptr);
    if (!plugin)
        return steps;
    steps << QStringLiteral("InitialPluginBase ") + Word(plugin->InitialPluginBase(scene.Context(), nullptr, nullptr));
    bool initialised = false;
    const QVariantMap params{{QStringLiteral("rootObj"), QVariant::fromValue<QObject *>(scene.Root())}};
    steps << QStringLiteral("initialize called ") + Word(PluginHost::CallInitialize(plugin, params, initialised));
    steps << QStringLiteral("initialize ") + Word(initialised);

    // A read, a click, and failures of lookup and dispatch: each writes trace and error lines
    // when a log library is present.
    const QVariantMap box{{QStringLiteral("objname"), QStringLiteral("box")}, {QStringLiteral("property"), QStringLiteral("label")}};
    const QVariantMap nowhere{{QStringLiteral("objname"), QStringLiteral("nowhere")}, {QStringLiteral("property"), QStringLiteral("label")}};
    const QVariantMap click{{QStringLiteral("objname"), QStringLiteral("box")}, {QStringLiteral("winobjname"), QStringLiteral("pluginWindow")}};
    steps << QStringLiteral("getpro box ") + Describe(PluginHost::Control(plugin, QStringLiteral("getpro"), box));
    steps << QStringLiteral("click box ") + Describe(PluginHost::Control(plugin, QStringLiteral("click"), click));
    steps << QStringLiteral("getpro nowhere ") + Describe(PluginHost::Control(plugin, QStringLiteral("getpro"), nowhere));
    steps << QStringLiteral("nosuchcontrol ") + Describe(PluginHost::Control(plugin, QStringLiteral("nosuchcontrol"), {}));

    host.DestroyInstance();
    steps << QStringLiteral("log library loaded ") + Word(dlopen("libQmdxLogUtl.so", RTLD_NOW | RTLD_NOLOAD) != nullptr);
    steps << QStringLiteral("unload ") + Word(host.loader.unload());
    return steps;
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    if (argc != 2)
        return 2;
    const QStringList steps = RunThePluginPath();
    QFile out(QString::fromLocal8Bit(argv[1]));
    if (!out.open(QIODevice::WriteOnly | QIODevice::Text))
        return 3;
    out.write(steps.join(QLatin1Char('\n')).toUtf8() + '\n');
    return 0;
}
