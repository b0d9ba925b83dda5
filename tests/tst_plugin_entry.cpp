// The plugin shell as the host framework sees it: metadata, the factory entry, the PluginBase
// interface, initialisation, the worker and the in-process control call.

#include "HostPlugins.h"
#include "PluginHost.h"
#include "TestSupport.h"

#include "ConfigBase.h"
#include "FrameworkWrapperBase.h"
#include "PluginUIRemoteControl.h"

#include <QLibrary>
#include <QMetaMethod>
#include <QPointer>
#include <QQmlContext>
#include <QQuickWindow>
#include <QtTest>

using TestSupport::ErrorLines;
using TestSupport::LogTexts;

namespace {

using InstanceFunction = QObject *(*)();

const char kIid[] = "com.KORVANE.UIFramework.PluginInterface";
const char kPluginId[] = "8C4BDDE57A9A47518E9965083B827BB6";

// A "getpro" request for the label of a named object of the scene.
QVariantMap LabelOf(const QString &objname)
{
    return {{QStringLiteral("objname"), objname}, {QStringLiteral("property"), QStringLiteral("label")}};
}

QVariantMap RootParams(QObject *root)
{
    return {{QStringLiteral("rootObj"), QVariant::fromValue<QObject *>(root)}};
}

// Severities of all lines written so far, in order.
QList<int> Severities()
{
    QList<int> severities;
    for (const LogRecorder::Line &line : LogRecorder::Lines())
        severities.append(line.severity);
    return severities;
}

class HostWrapper : public FrameworkWrapperBase {};

} // namespace

class TestPluginEntry : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void metaDataIdentifiesThePluginToTheHost();
    void instanceCastsToThePluginInterfaceAndItsOwnClass();
    void invokablesAreFoundByNameInTheirOrder();
    void factoryReturnsTheSameInstanceOnEveryCall();
    void factoryCreatesANewInstanceAfterTheOldOneIsDeleted();
    void newInstanceHasNoNameIdHostDataOrWrapper();
    void initialPluginBaseSetsNameIdHostDataAndWrapper();
    void initialPluginBaseTracesOnlyInitEnterAndLeave();
    void initialPluginBaseCreatesTheWorkerAsChildOfThePlugin();
    void initializeBeforeInitialPluginBaseFailsAndLogsMissingWorker();
    void controlObjectWithoutWorkerAnswersSuccessFalseWithoutRetValue();
    void controlObjectBeforeInitializeReportsMissingRemoteControl();
    void initializeCreatesTheRemoteControlOnTheSceneRoot();
    void initializeAcceptsTheRootAsASubclassPointer();
    void initializeTwiceReturnsTrueAndKeepsTheFirstRemoteControl();
    void initializeWithoutRootObjCreatesARemoteControlWithNullRoot_data();
    void initializeWithoutRootObjCreatesARemoteControlWithNullRoot();
    void controlObjectPassesAFailedControlThroughWithInvalidRetValue();
    void controlObjectWritesNoTraceOfItsOwn();
    void processorsOnlyTraceEnterAndLeave();
    void destructorTracesEnterAndLeave();
    void destructorDeletesTheWorkerBeforeThePluginIsGone();

private:
    PluginHost m_host;
    HostScene m_scene;
    HostScene m_other;
    ModelPlugin m_models;
};

void TestPluginEntry::initTestCase()
{
    m_scene.Publish(QStringLiteral("ModelPlugin"), &m_models);
    QVERIFY(m_scene.Load(QStringLiteral("plugin_scene.qml")));
    QVERIFY(m_other.Load(QStringLiteral("plugin_other.qml")));
    QVERIFY2(m_host.Load(), qPrintable(m_host.loader.errorString()));
}

void TestPluginEntry::init()
{
    // Every test starts from a plugin instance nobody has initialised yet.
    m_host.DestroyInstance();
    LogRecorder::Clear();
}

void TestPluginEntry::cleanup()
{
    m_host.DestroyInstance();
}

void TestPluginEntry::metaDataIdentifiesThePluginToTheHost()
{
    QPluginLoader probe(PluginHost::LibraryPath());
    const QJsonObject meta = probe.metaData();
    QCOMPARE(meta.value(QStringLiteral("IID")).toString(), QString::fromLatin1(kIid));
    QCOMPARE(meta.value(QStringLiteral("className")).toString(), QStringLiteral("PluginUIRemoteControl"));
    QCOMPARE(meta.value(QStringLiteral("debug")), QJsonValue(false));
    // The loader accepts a plugin built by this major version and no newer minor version.
    const int version = meta.value(QStringLiteral("version")).toInt();
    QCOMPARE(version >> 16, QT_VERSION_MAJOR);
    QVERIFY(version <= int(QT_VERSION));
    const QJsonObject data = meta.value(QStringLiteral("MetaData")).toObject();
    QCOMPARE(data.value(QStringLiteral("PluginID")), QJsonValue(QString::fromLatin1(kPluginId)));
    QCOMPARE(data.value(QStringLiteral("ClientOnly")), QJsonValue(true));
    QCOMPARE(data.size(), 2);
}

void TestPluginEntry::instanceCastsToThePluginInterfaceAndItsOwnClass()
{
    QObject *instance = m_host.loader.instance();
    QVERIFY(instance);
    auto *plugin = qobject_cast<PluginBase *>(instance);
    QVERIFY(plugin);
    QCOMPARE(static_cast<QObject *>(plugin), instance);
    QCOMPARE(instance->qt_metacast(kIid), static_cast<void *>(plugin));
    QCOMPARE(instance->qt_metacast("PluginUIRemoteControl"), static_cast<void *>(instance));
    QCOMPARE(instance->qt_metacast("com.KORVANE.UIFramework.OtherInterface"), static_cast<void *>(nullptr));
    QCOMPARE(QString::fromLatin1(instance->metaObject()->className()), QStringLiteral("PluginUIRemoteControl"));
    // The loaded file is the library this program links: one class, one meta-object.
    QCOMPARE(instance->metaObject(), &PluginUIRemoteControl::staticMetaObject);
    QVERIFY(qobject_cast<PluginUIRemoteControl *>(instance));
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginEntry::invokablesAreFoundByNameInTheirOrder()
{
    const QMetaObject *meta = m_host.Instance()->metaObject();
    const int initialize = meta->indexOfMethod("initialize(QVariant)");
    const int control = meta->indexOfMethod("controlObject(QVariant)");
    QCOMPARE(initialize - meta->methodOffset(), 0);
    QCOMPARE(control - meta->methodOffset(), 1);
    QCOMPARE(meta->methodCount() - meta->methodOffset(), 2);

    const QMetaMethod init = meta->method(initialize);
    QCOMPARE(init.methodType(), QMetaMethod::Method);
    QCOMPARE(init.access(), QMetaMethod::Public);
    QCOMPARE(init.returnType(), int(QMetaType::Bool));
    QCOMPARE(init.parameterNames(), QList<QByteArray>{"initParams"});

    const QMetaMethod run = meta->method(control);
    QCOMPARE(run.methodType(), QMetaMethod::Method);
    QCOMPARE(run.access(), QMetaMethod::Public);
    QCOMPARE(run.returnType(), int(QMetaType::QVariantMap));
    QCOMPARE(run.parameterNames(), QList<QByteArray>{"request"});
}

void TestPluginEntry::factoryReturnsTheSameInstanceOnEveryCall()
{
    QLibrary library(PluginHost::LibraryPath());
    QVERIFY2(library.load(), qPrintable(library.errorString()));
    const auto factory = reinterpret_cast<InstanceFunction>(library.resolve("qt_plugin_instance"));
    QVERIFY(factory);

    QObject *first = factory();
    QVERIFY(first);
    QCOMPARE(factory(), first);
    QCOMPARE(m_host.loader.instance(), first);
    QCOMPARE(m_host.loader.instance(), first);
    QVERIFY(!first->parent());
}

void TestPluginEntry::factoryCreatesANewInstanceAfterTheOldOneIsDeleted()
{
    QLibrary library(PluginHost::LibraryPath());
    QVERIFY2(library.load(), qPrintable(library.errorString()));
    const auto factory = reinterpret_cast<InstanceFunction>(library.resolve("qt_plugin_instance"));
    QVERIFY(factory);

    QPointer<QObject> old = factory();
    auto *oldPlugin = qobject_cast<PluginBase *>(old.data());
    QVERIFY(oldPlugin);
    QVERIFY(oldPlugin->InitialPluginBase(m_scene.Context(), nullptr, nullptr));
    delete old.data();
    QVERIFY(old.isNull());

    QObject *fresh = factory();
    QVERIFY(fresh);
    QCOMPARE(factory(), fresh);
    QCOMPARE(m_host.loader.instance(), fresh);
    // The new instance is a new object: it carries nothing of the initialised old one.
    auto *plugin = qobject_cast<PluginUIRemoteControl *>(fresh);
    QVERIFY(plugin);
    QVERIFY(plugin->PluginName().isEmpty());
    LogRecorder::Clear();
    bool initialised = true;
    QVERIFY(PluginHost::CallInitialize(plugin, RootParams(m_scene.Root()), initialised));
    QCOMPARE(initialised, false);
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("PluginUIRemoteControl::initialize, plugin worker is NULL")});
}

void TestPluginEntry::newInstanceHasNoNameIdHostDataOrWrapper()
{
    auto *plugin = qobject_cast<PluginUIRemoteControl *>(m_host.Instance());
    QVERIFY(plugin);
    QVERIFY(plugin->PluginName().isEmpty());
    QVERIFY(plugin->PluginID().isEmpty());
    QCOMPARE(plugin->HostData(), static_cast<void *>(nullptr));
    QCOMPARE(plugin->FrameworkWrapper(), static_cast<FrameworkWrapperBase *>(nullptr));
    QVERIFY(plugin->children().isEmpty());
    // Making the instance writes nothing.
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginEntry::initialPluginBaseSetsNameIdHostDataAndWrapper()
{
    PluginBase *base = m_host.Instance();
    QVERIFY(base);
    int hostData = 7;
    HostWrapper wrapper;
    QVERIFY(base->InitialPluginBase(m_scene.Context(), &hostData, &wrapper));

    auto *plugin = qobject_cast<PluginUIRemoteControl *>(base);
    QCOMPARE(plugin->PluginName(), QStringLiteral("UIRemoteControlPlugin"));
    QCOMPARE(plugin->PluginID(), QString::fromLatin1(kPluginId));
    QCOMPARE(plugin->HostData(), static_cast<void *>(&hostData));
    QCOMPARE(plugin->FrameworkWrapper(), static_cast<FrameworkWrapperBase *>(&wrapper));
    // The ID is the one the metadata announces.
    QCOMPARE(plugin->PluginID(),
             m_host.MetaData().value(QStringLiteral("MetaData")).toObject().value(QStringLiteral("PluginID")).toString());
}

void TestPluginEntry::initialPluginBaseTracesOnlyInitEnterAndLeave()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin);
    LogRecorder::Clear();
    QVERIFY(plugin->InitialPluginBase(m_scene.Context(), nullptr, nullptr));

    QCOMPARE(LogTexts(), (QStringList{QStringLiteral("PluginUIRemoteControl::Init, Enter"),
                                      QStringLiteral("PluginUIRemoteControl::Init, Leave")}));
    const std::vector<LogRecorder::Line> &lines = LogRecorder::Lines();
    QCOMPARE(lines[0].severity, 5);
    QVERIFY(lines[0].line > 0);
    QVERIFY(QString::fromStdString(lines[0].file).endsWith(QLatin1String("PluginUIRemoteControl.cpp")));
    QCOMPARE(lines[1].severity, 5);
    QCOMPARE(lines[1].line, 0);
    QVERIFY(QString::fromStdString(lines[1].file).endsWith(QLatin1String("PluginUIRemoteControl.cpp")));
}

void TestPluginEntry::initialPluginBaseCreatesTheWorkerAsChildOfThePlugin()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin->children().isEmpty());
    QVERIFY(plugin->InitialPluginBase(m_scene.Context(), nullptr, nullptr));
    QCOMPARE(plugin->children().size(), 1);
    // The worker has no meta-object of its own.
    QCOMPARE(QString::fromLatin1(plugin->children().first()->metaObject()->className()), QStringLiteral("QObject"));
}

void TestPluginEntry::initializeBeforeInitialPluginBaseFailsAndLogsMissingWorker()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin);
    LogRecorder::Clear();

    bool initialised = true;
    QVERIFY(PluginHost::CallInitialize(plugin, RootParams(m_scene.Root()), initialised));
    QCOMPARE(initialised, false);
    QCOMPARE(LogTexts(), QStringList{QStringLiteral("PluginUIRemoteControl::initialize, plugin worker is NULL")});
    QCOMPARE(Severities(), QList<int>{2});

    // The failed call created nothing: the plugin still has no worker.
    LogRecorder::Clear();
    QVariantMap result;
    QVERIFY(PluginHost::CallControlObject(plugin, QVariantMap{{QStringLiteral("getpro"), LabelOf(QStringLiteral("box"))}},
                                          result));
    QCOMPARE(result, (QVariantMap{{QStringLiteral("success"), false}}));
    QCOMPARE(LogTexts(), QStringList{QStringLiteral("PluginUIRemoteControl::controlObject, plugin worker is NULL")});
}

void TestPluginEntry::controlObjectWithoutWorkerAnswersSuccessFalseWithoutRetValue()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin);
    LogRecorder::Clear();

    QVariantMap result;
    QVERIFY(PluginHost::CallControlObject(plugin, QVariantMap{{QStringLiteral("getpro"), LabelOf(QStringLiteral("box"))}},
                                          result));
    QCOMPARE(result.keys(), QStringList{QStringLiteral("success")});
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QVERIFY(!result.contains(QStringLiteral("retValue")));
    QCOMPARE(LogTexts(), QStringList{QStringLiteral("PluginUIRemoteControl::controlObject, plugin worker is NULL")});
    QCOMPARE(Severities(), QList<int>{2});
}

void TestPluginEntry::controlObjectBeforeInitializeReportsMissingRemoteControl()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin->InitialPluginBase(m_scene.Context(), nullptr, nullptr));
    LogRecorder::Clear();

    QVariantMap result;
    QVERIFY(PluginHost::CallControlObject(plugin, QVariantMap{{QStringLiteral("getpro"), LabelOf(QStringLiteral("box"))}},
                                          result));
    QCOMPARE(result.keys(), (QStringList{QStringLiteral("retValue"), QStringLiteral("success")}));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QVERIFY(!result.value(QStringLiteral("retValue")).isValid());
    QCOMPARE(LogTexts(), QStringList{QStringLiteral("NormalWorker::controlObject, UI remote control is NULL")});
    QCOMPARE(Severities(), QList<int>{2});
}

void TestPluginEntry::initializeCreatesTheRemoteControlOnTheSceneRoot()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin->InitialPluginBase(m_scene.Context(), nullptr, nullptr));
    LogRecorder::Clear();

    bool initialised = false;
    QVERIFY(PluginHost::CallInitialize(plugin, RootParams(m_scene.Root()), initialised));
    QVERIFY(initialised);
    QVERIFY(LogTexts().isEmpty());

    const QVariantMap result = PluginHost::Control(plugin, QStringLiteral("getpro"), LabelOf(QStringLiteral("box")));
    QCOMPARE(result, (QVariantMap{{QStringLiteral("success"), true}, {QStringLiteral("retValue"), QStringLiteral("first scene")}}));
    QVERIFY(ErrorLines().isEmpty());
}

void TestPluginEntry::initializeAcceptsTheRootAsASubclassPointer()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin->InitialPluginBase(m_scene.Context(), nullptr, nullptr));
    QVERIFY(m_scene.Window());

    bool initialised = false;
    const QVariantMap params{{QStringLiteral("rootObj"), QVariant::fromValue<QQuickWindow *>(m_scene.Window())}};
    QVERIFY(PluginHost::CallInitialize(plugin, params, initialised));
    QVERIFY(initialised);

    const QVariantMap result = PluginHost::Control(plugin, QStringLiteral("getpro"), LabelOf(QStringLiteral("box")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(true));
    QCOMPARE(result.value(QStringLiteral("retValue")), QVariant(QStringLiteral("first scene")));
}

void TestPluginEntry::initializeTwiceReturnsTrueAndKeepsTheFirstRemoteControl()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin->InitialPluginBase(m_scene.Context(), nullptr, nullptr));
    bool initialised = false;
    QVERIFY(PluginHost::CallInitialize(plugin, RootParams(m_scene.Root()), initialised));
    QVERIFY(initialised);

    LogRecorder::Clear();
    initialised = false;
    QVERIFY(PluginHost::CallInitialize(plugin, RootParams(m_other.Root()), initialised));
    QVERIFY(initialised);
    QVERIFY(LogTexts().isEmpty());

    // The remote control still works on the first root; the second root was never taken.
    QCOMPARE(PluginHost::Control(plugin, QStringLiteral("getpro"), LabelOf(QStringLiteral("box"))),
             (QVariantMap{{QStringLiteral("success"), true}, {QStringLiteral("retValue"), QStringLiteral("first scene")}}));
    LogRecorder::Clear();
    const QVariantMap other = PluginHost::Control(plugin, QStringLiteral("getpro"), LabelOf(QStringLiteral("otherBox")));
    QCOMPARE(other.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject otherBox")});
}

void TestPluginEntry::initializeWithoutRootObjCreatesARemoteControlWithNullRoot_data()
{
    QTest::addColumn<QVariant>("params");
    QTest::newRow("map without rootObj") << QVariant(QVariantMap{{QStringLiteral("root"), QVariant::fromValue<QObject *>(m_scene.Root())}});
    QTest::newRow("empty map") << QVariant(QVariantMap());
    QTest::newRow("no parameters at all") << QVariant();
    QTest::newRow("rootObj that is no object") << QVariant(QVariantMap{{QStringLiteral("rootObj"), QStringLiteral("pluginWindow")}});
}

void TestPluginEntry::initializeWithoutRootObjCreatesARemoteControlWithNullRoot()
{
    QFETCH(QVariant, params);
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin->InitialPluginBase(m_scene.Context(), nullptr, nullptr));
    LogRecorder::Clear();

    bool initialised = false;
    QVERIFY(PluginHost::CallInitialize(plugin, params, initialised));
    QVERIFY(initialised);
    QVERIFY(LogTexts().isEmpty());

    // An object lookup has no root to start from and fails...
    const QVariantMap lookup = PluginHost::Control(plugin, QStringLiteral("getpro"), LabelOf(QStringLiteral("box")));
    QCOMPARE(lookup.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject box")});

    // ...but the remote control exists and serves what needs only the context.
    LogRecorder::Clear();
    const QVariantMap model = PluginHost::Control(plugin, QStringLiteral("getmdlitemval"),
                                                  {{QStringLiteral("pluginname"), QStringLiteral("ModelPlugin")},
                                                   {QStringLiteral("method"), QStringLiteral("treeModel")},
                                                   {QStringLiteral("mdlitemrowpth"), QStringLiteral("1/0")},
                                                   {QStringLiteral("mdlitemrolename"), QStringLiteral("name")}});
    QCOMPARE(model, (QVariantMap{{QStringLiteral("success"), true}, {QStringLiteral("retValue"), QStringLiteral("b0")}}));
    QVERIFY(ErrorLines().isEmpty());
}

void TestPluginEntry::controlObjectPassesAFailedControlThroughWithInvalidRetValue()
{
    PluginBase *plugin = m_host.Start(m_scene.Context(), m_scene.Root());
    QVERIFY(plugin);
    LogRecorder::Clear();

    QVariantMap result;
    QVERIFY(PluginHost::CallControlObject(plugin, QVariantMap{{QStringLiteral("getpro"), LabelOf(QStringLiteral("nowhere"))}},
                                          result));
    QCOMPARE(result.keys(), (QStringList{QStringLiteral("retValue"), QStringLiteral("success")}));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QVERIFY(!result.value(QStringLiteral("retValue")).isValid());
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject nowhere")});
}

void TestPluginEntry::controlObjectWritesNoTraceOfItsOwn()
{
    PluginBase *plugin = m_host.Start(m_scene.Context(), m_scene.Root());
    QVERIFY(plugin);
    LogRecorder::Clear();

    // An unknown control type reaches dispatch, whose refusal is the only line.
    QVariantMap result;
    QVERIFY(PluginHost::CallControlObject(plugin, QVariantMap{{QStringLiteral("nosuchcontrol"), QVariantMap()}}, result));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(LogTexts(), QStringList{QStringLiteral("UIRemoteControl::Action, control type not support")});

    // A bridge control writes nothing when all goes well: neither plugin, worker nor dispatch trace.
    JoystickPlugin joystick;
    m_scene.Publish(QStringLiteral("JoystickPlugin"), &joystick);
    LogRecorder::Clear();
    QVERIFY(PluginHost::CallControlObject(plugin, QVariantMap{{QStringLiteral("movejoystick"), QVariantMap()}}, result));
    m_scene.Publish(QStringLiteral("JoystickPlugin"), QVariant());
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(true));
    QCOMPARE(joystick.axisCalls.size(), 1);
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginEntry::processorsOnlyTraceEnterAndLeave()
{
    PluginBase *plugin = m_host.Instance();
    QVERIFY(plugin);
    LogRecorder::Clear();
    ConfigBase config;

    plugin->EventProcessor(QStringLiteral("event"), 1, 2, 3, QVariant(4), QStringLiteral("extra"));
    plugin->EventProcessorEx(QStringLiteral("event"), &config, 1, 2, 3, QVariant(4), QStringLiteral("extra"));
    plugin->CommandProcessor(QStringLiteral("command"), QVariant(5), nullptr, QStringLiteral("a"), QStringLiteral("b"),
                             true, QStringLiteral("extra"));
    plugin->CommandProcessorEx(QStringLiteral("command"), &config, QVariant(5), nullptr, QStringLiteral("a"),
                               QStringLiteral("b"), false, QStringLiteral("extra"));
    qobject_cast<PluginUIRemoteControl *>(plugin)->ErrorProcessor(QStringLiteral("error"), nullptr, QStringLiteral("text"));

    const QStringList expected{
        QStringLiteral("PluginUIRemoteControl::EventProcessor, Enter"),
        QStringLiteral("PluginUIRemoteControl::EventProcessor, Leave"),
        QStringLiteral("PluginUIRemoteControl::EventProcessorEx, Enter"),
        QStringLiteral("PluginUIRemoteControl::EventProcessorEx, Leave"),
        QStringLiteral("PluginUIRemoteControl::CommandProcessor, Enter"),
        QStringLiteral("PluginUIRemoteControl::CommandProcessor, Leave"),
        QStringLiteral("PluginUIRemoteControl::CommandProcessorEx, Enter"),
        QStringLiteral("PluginUIRemoteControl::CommandProcessorEx, Leave"),
        QStringLiteral("PluginUIRemoteControl::ErrorProcessor, Enter"),
        QStringLiteral("PluginUIRemoteControl::ErrorProcessor, Leave"),
    };
    QCOMPARE(LogTexts(), expected);
    QCOMPARE(LogTexts(5), expected);
    const std::vector<LogRecorder::Line> &lines = LogRecorder::Lines();
    for (size_t i = 1; i < lines.size(); i += 2)
        QCOMPARE(lines[i].line, 0);

    // They do nothing else: the plugin is still not initialised.
    QVERIFY(qobject_cast<PluginUIRemoteControl *>(plugin)->PluginName().isEmpty());
    QVERIFY(plugin->children().isEmpty());
}

void TestPluginEntry::destructorTracesEnterAndLeave()
{
    PluginBase *plugin = m_host.Start(m_scene.Context(), m_scene.Root());
    QVERIFY(plugin);
    LogRecorder::Clear();

    m_host.DestroyInstance();
    QCOMPARE(LogTexts(5), (QStringList{QStringLiteral("PluginUIRemoteControl::~PluginUIRemoteControl, Enter"),
                                       QStringLiteral("PluginUIRemoteControl::~PluginUIRemoteControl, Leave")}));
    QCOMPARE(LogTexts().size(), 2);
    const std::vector<LogRecorder::Line> &lines = LogRecorder::Lines();
    QVERIFY(lines[0].line > 0);
    QCOMPARE(lines[1].line, 0);
}

void TestPluginEntry::destructorDeletesTheWorkerBeforeThePluginIsGone()
{
    PluginBase *plugin = m_host.Start(m_scene.Context(), m_scene.Root());
    QVERIFY(plugin);
    QCOMPARE(plugin->children().size(), 1);
    QObject *worker = plugin->children().first();

    QStringList order;
    connect(worker, &QObject::destroyed, this, [&order] { order.append(QStringLiteral("worker")); });
    connect(plugin, &QObject::destroyed, this, [&order] { order.append(QStringLiteral("plugin")); });
    m_host.DestroyInstance();
    // The plugin's own destructor deletes the worker, before QObject would delete its children.
    QCOMPARE(order, (QStringList{QStringLiteral("worker"), QStringLiteral("plugin")}));
}

QTEST_MAIN(TestPluginEntry)
#include "tst_plugin_entry.moc"
