// The bridge to other host plugins: the joystick controls and "emitpluginsignal", run through
// the loaded plugin's controlObject() and over the testing server.

#include "HostPlugins.h"
#include "PluginHost.h"
#include "TestSupport.h"

#include "UIRemoteControl.h"

#include <QJsonObject>
#include <QQmlContext>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

using TestSupport::ErrorLines;
using TestSupport::LogTexts;

namespace {

const QString kAddJoystick = QStringLiteral("addjoystick");
const QString kButtonEvent = QStringLiteral("joystickbuttonevent");
const QString kMoveJoystick = QStringLiteral("movejoystick");
const QString kEmitSignal = QStringLiteral("emitpluginsignal");

QVariantMap SignalArgs(const QString &plugin, const QString &signal)
{
    return {{QStringLiteral("pluginName"), plugin}, {QStringLiteral("signalName"), signal}};
}

QVariantMap Succeeded()
{
    return {{QStringLiteral("success"), true}, {QStringLiteral("retValue"), QVariant()}};
}

} // namespace

class TestPluginBridge : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void addJoystickPassesTheDeviceList_data();
    void addJoystickPassesTheDeviceList();
    void addJoystickWithoutJoystickListPassesAnEmptyList();
    void joystickButtonEventPassesModelNameAndKeyId_data();
    void joystickButtonEventPassesModelNameAndKeyId();
    void moveJoystickWithOnlyPosXPassesZeroForTheOtherAxes();
    void moveJoystickConvertsEachAxis_data();
    void moveJoystickConvertsEachAxis();
    void missingJoystickPluginLogsBothLinesInOrderAndSucceeds_data();
    void missingJoystickPluginLogsBothLinesInOrderAndSucceeds();
    void joystickPluginWithoutTheMethodLogsInvokeFailedOnly_data();
    void joystickPluginWithoutTheMethodLogsInvokeFailedOnly();
    void emitPluginSignalEmitsAnArgumentlessSignalToItsReceivers();
    void emitPluginSignalRunsAnArgumentlessSlotOrInvokable_data();
    void emitPluginSignalRunsAnArgumentlessSlotOrInvokable();
    void emitPluginSignalWithParametersFailsWithInvokeFailedOnly_data();
    void emitPluginSignalWithParametersFailsWithInvokeFailedOnly();
    void emitPluginSignalUnknownMemberLogsInvokeFailedOnly_data();
    void emitPluginSignalUnknownMemberLogsInvokeFailedOnly();
    void emitPluginSignalEmptyPluginNameWritesBothLines_data();
    void emitPluginSignalEmptyPluginNameWritesBothLines();
    void emitPluginSignalMissingPluginStillSucceeds_data();
    void emitPluginSignalMissingPluginStillSucceeds();
    void bridgeControlsReplyTrueOverTheTestingServer();

private:
    QVariantMap Run(const QString &type, const QVariantMap &args) const
    {
        return PluginHost::Control(m_plugin, type, args);
    }
    // Runs the plugin on another QML context of the host.
    bool Restart(QQmlContext *context)
    {
        m_host.DestroyInstance();
        m_plugin = m_host.Start(context, m_scene.Root());
        LogRecorder::Clear();
        return m_plugin != nullptr;
    }

    PluginHost m_host;
    JoystickPlugin m_joystick;
    SignalPlugin m_signals;
    HostScene m_scene; // publishes JoystickPlugin and SignalPlugin
    HostScene m_bare;  // publishes no plugin at all
    PluginBase *m_plugin = nullptr;
};

void TestPluginBridge::initTestCase()
{
    m_scene.Publish(QStringLiteral("JoystickPlugin"), &m_joystick);
    m_scene.Publish(QStringLiteral("SignalPlugin"), &m_signals);
    m_scene.Publish(QStringLiteral("NotAnObject"), QVariant(QStringLiteral("text")));
    QVERIFY(m_scene.Load(QStringLiteral("plugin_scene.qml")));
    QVERIFY(m_bare.Load(QStringLiteral("plugin_other.qml")));
    QVERIFY2(m_host.Load(), qPrintable(m_host.loader.errorString()));
}

void TestPluginBridge::init()
{
    m_joystick.deviceCalls.clear();
    m_joystick.buttonCalls.clear();
    m_joystick.axisCalls.clear();
    m_signals.resetCalls = m_signals.reloadCalls = m_signals.levelCalls = 0;
    QVERIFY(Restart(m_scene.Context()));
}

void TestPluginBridge::cleanup()
{
    m_host.DestroyInstance();
    m_plugin = nullptr;
}

void TestPluginBridge::addJoystickPassesTheDeviceList_data()
{
    QTest::addColumn<QVariant>("list");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("two devices") << QVariant(QStringList{QStringLiteral("pad-1"), QStringLiteral("pad-2")})
                                 << QStringList{QStringLiteral("pad-1"), QStringLiteral("pad-2")};
    QTest::newRow("list as from JSON") << QVariant(QVariantList{QStringLiteral("stick")}) << QStringList{QStringLiteral("stick")};
    QTest::newRow("empty list") << QVariant(QVariantList()) << QStringList();
    QTest::newRow("one string") << QVariant(QStringLiteral("wheel")) << QStringList{QStringLiteral("wheel")};
}

void TestPluginBridge::addJoystickPassesTheDeviceList()
{
    QFETCH(QVariant, list);
    QFETCH(QStringList, expected);
    QCOMPARE(Run(kAddJoystick, {{QStringLiteral("joystick_list"), list}}), Succeeded());
    QCOMPARE(m_joystick.deviceCalls, QList<QStringList>{expected});
    QCOMPARE(m_joystick.TotalCalls(), 1);
    // The bridge writes nothing when the call goes through: no trace, no error.
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginBridge::addJoystickWithoutJoystickListPassesAnEmptyList()
{
    QCOMPARE(Run(kAddJoystick, QVariantMap()), Succeeded());
    QCOMPARE(m_joystick.deviceCalls.size(), 1);
    QVERIFY(m_joystick.deviceCalls.first().isEmpty());
    QCOMPARE(m_joystick.TotalCalls(), 1);
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginBridge::joystickButtonEventPassesModelNameAndKeyId_data()
{
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QString>("model");
    QTest::addColumn<int>("keyId");
    QTest::newRow("number") << QVariantMap{{QStringLiteral("model_name"), QStringLiteral("Gamepad")}, {QStringLiteral("key_id"), 7}}
                            << QStringLiteral("Gamepad") << 7;
    QTest::newRow("digits 12") << QVariantMap{{QStringLiteral("model_name"), QStringLiteral("Gamepad")}, {QStringLiteral("key_id"), QStringLiteral("12")}}
                               << QStringLiteral("Gamepad") << 12;
    QTest::newRow("text abc") << QVariantMap{{QStringLiteral("model_name"), QStringLiteral("Gamepad")}, {QStringLiteral("key_id"), QStringLiteral("abc")}}
                              << QStringLiteral("Gamepad") << 0;
    QTest::newRow("no key id") << QVariantMap{{QStringLiteral("model_name"), QStringLiteral("Wheel")}} << QStringLiteral("Wheel") << 0;
    QTest::newRow("no model name") << QVariantMap{{QStringLiteral("key_id"), 3}} << QString() << 3;
    QTest::newRow("nothing") << QVariantMap() << QString() << 0;
}

void TestPluginBridge::joystickButtonEventPassesModelNameAndKeyId()
{
    QFETCH(QVariantMap, args);
    QFETCH(QString, model);
    QFETCH(int, keyId);
    QCOMPARE(Run(kButtonEvent, args), Succeeded());
    QCOMPARE(m_joystick.buttonCalls.size(), 1);
    QCOMPARE(m_joystick.buttonCalls.first().model, model);
    QCOMPARE(m_joystick.buttonCalls.first().keyId, keyId);
    QCOMPARE(m_joystick.TotalCalls(), 1);
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginBridge::moveJoystickWithOnlyPosXPassesZeroForTheOtherAxes()
{
    QCOMPARE(Run(kMoveJoystick, {{QStringLiteral("pos_x"), 0.75}}), Succeeded());
    QCOMPARE(m_joystick.axisCalls.size(), 1);
    QCOMPARE(m_joystick.axisCalls.first().x, 0.75);
    QCOMPARE(m_joystick.axisCalls.first().y, 0.0);
    QCOMPARE(m_joystick.axisCalls.first().z, 0.0);
    QCOMPARE(m_joystick.TotalCalls(), 1);
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginBridge::moveJoystickConvertsEachAxis_data()
{
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("z");
    QTest::newRow("three doubles") << QVariantMap{{QStringLiteral("pos_x"), -1.0}, {QStringLiteral("pos_y"), 0.5}, {QStringLiteral("pos_z"), 0.25}}
                                   << -1.0 << 0.5 << 0.25;
    QTest::newRow("integers") << QVariantMap{{QStringLiteral("pos_x"), 1}, {QStringLiteral("pos_y"), -2}, {QStringLiteral("pos_z"), 3}}
                              << 1.0 << -2.0 << 3.0;
    QTest::newRow("number text") << QVariantMap{{QStringLiteral("pos_y"), QStringLiteral("2.5")}} << 0.0 << 2.5 << 0.0;
    QTest::newRow("other text") << QVariantMap{{QStringLiteral("pos_z"), QStringLiteral("up")}} << 0.0 << 0.0 << 0.0;
    QTest::newRow("nothing") << QVariantMap() << 0.0 << 0.0 << 0.0;
}

void TestPluginBridge::moveJoystickConvertsEachAxis()
{
    QFETCH(QVariantMap, args);
    QFETCH(double, x);
    QFETCH(double, y);
    QFETCH(double, z);
    QCOMPARE(Run(kMoveJoystick, args), Succeeded());
    QCOMPARE(m_joystick.axisCalls.size(), 1);
    QCOMPARE(m_joystick.axisCalls.first().x, x);
    QCOMPARE(m_joystick.axisCalls.first().y, y);
    QCOMPARE(m_joystick.axisCalls.first().z, z);
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginBridge::missingJoystickPluginLogsBothLinesInOrderAndSucceeds_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QString>("handler");
    QTest::addColumn<QString>("method");
    QTest::newRow("movejoystick") << kMoveJoystick << QVariantMap{{QStringLiteral("pos_x"), 1.0}}
                                  << QStringLiteral("UIRemoteControl::MoveJoystick") << QStringLiteral("axisChanged");
    QTest::newRow("addjoystick") << kAddJoystick << QVariantMap{{QStringLiteral("joystick_list"), QStringList{QStringLiteral("pad")}}}
                                 << QStringLiteral("UIRemoteControl::DoAddJoystick") << QStringLiteral("onDeviceChanged");
    QTest::newRow("joystickbuttonevent") << kButtonEvent << QVariantMap{{QStringLiteral("key_id"), 1}}
                                         << QStringLiteral("UIRemoteControl::DoJoystickButtonEvent") << QStringLiteral("handleButtonEvent");
}

void TestPluginBridge::missingJoystickPluginLogsBothLinesInOrderAndSucceeds()
{
    QFETCH(QString, type);
    QFETCH(QVariantMap, args);
    QFETCH(QString, handler);
    QFETCH(QString, method);
    QVERIFY(Restart(m_bare.Context()));

    QCOMPARE(Run(type, args), Succeeded());
    const QStringList expected{handler + QStringLiteral(", can not find plugin JoystickPlugin"),
                               handler + QStringLiteral(", invoke plugin's method ") + method + QStringLiteral(" is failed")};
    QCOMPARE(ErrorLines(), expected);
    QCOMPARE(LogTexts(), expected);
    QCOMPARE(m_joystick.TotalCalls(), 0);
}

void TestPluginBridge::joystickPluginWithoutTheMethodLogsInvokeFailedOnly_data()
{
    missingJoystickPluginLogsBothLinesInOrderAndSucceeds_data();
}

void TestPluginBridge::joystickPluginWithoutTheMethodLogsInvokeFailedOnly()
{
    QFETCH(QString, type);
    QFETCH(QVariantMap, args);
    QFETCH(QString, handler);
    QFETCH(QString, method);
    // This host publishes something else under the joystick plugin's name.
    QQmlContext context(m_bare.Context());
    SignalPlugin impostor;
    context.setContextProperty(QStringLiteral("JoystickPlugin"), &impostor);
    QVERIFY(Restart(&context));

    QCOMPARE(Run(type, args), Succeeded());
    QCOMPARE(ErrorLines(), QStringList{handler + QStringLiteral(", invoke plugin's method ") + method + QStringLiteral(" is failed")});
    QCOMPARE(LogTexts().size(), 1);
    m_host.DestroyInstance();
}

void TestPluginBridge::emitPluginSignalEmitsAnArgumentlessSignalToItsReceivers()
{
    QSignalSpy refreshed(&m_signals, &SignalPlugin::refreshed);
    QSignalSpy finished(&m_signals, &SignalPlugin::finished);
    int received = 0;
    connect(&m_signals, &SignalPlugin::refreshed, this, [&received] { ++received; });

    QCOMPARE(Run(kEmitSignal, SignalArgs(QStringLiteral("SignalPlugin"), QStringLiteral("refreshed"))), Succeeded());
    // Emitted at once: the receivers ran before the control returned.
    QCOMPARE(received, 1);
    QCOMPARE(refreshed.count(), 1);
    QCOMPARE(finished.count(), 0);
    QVERIFY(LogTexts().isEmpty());
    disconnect(&m_signals, &SignalPlugin::refreshed, this, nullptr);
}

void TestPluginBridge::emitPluginSignalRunsAnArgumentlessSlotOrInvokable_data()
{
    QTest::addColumn<QString>("member");
    QTest::addColumn<int>("resetCalls");
    QTest::addColumn<int>("reloadCalls");
    QTest::newRow("slot") << QStringLiteral("reset") << 1 << 0;
    QTest::newRow("invokable") << QStringLiteral("reload") << 0 << 1;
}

void TestPluginBridge::emitPluginSignalRunsAnArgumentlessSlotOrInvokable()
{
    QFETCH(QString, member);
    QFETCH(int, resetCalls);
    QFETCH(int, reloadCalls);
    QCOMPARE(Run(kEmitSignal, SignalArgs(QStringLiteral("SignalPlugin"), member)), Succeeded());
    QCOMPARE(m_signals.resetCalls, resetCalls);
    QCOMPARE(m_signals.reloadCalls, reloadCalls);
    QVERIFY(LogTexts().isEmpty());
}

void TestPluginBridge::emitPluginSignalWithParametersFailsWithInvokeFailedOnly_data()
{
    QTest::addColumn<QString>("member");
    QTest::newRow("signal with a parameter") << QStringLiteral("valueChanged");
    QTest::newRow("slot with a parameter") << QStringLiteral("setLevel");
}

void TestPluginBridge::emitPluginSignalWithParametersFailsWithInvokeFailedOnly()
{
    QFETCH(QString, member);
    QSignalSpy valueChanged(&m_signals, &SignalPlugin::valueChanged);
    QCOMPARE(Run(kEmitSignal, SignalArgs(QStringLiteral("SignalPlugin"), member)), Succeeded());
    QCOMPARE(valueChanged.count(), 0);
    QCOMPARE(m_signals.levelCalls, 0);
    QCOMPARE(ErrorLines(),
             QStringList{QStringLiteral("UIRemoteControl::EmitPluginSignal, invoke plugin's method %1 is failed").arg(member)});
    QCOMPARE(LogTexts().size(), 1);
}

void TestPluginBridge::emitPluginSignalUnknownMemberLogsInvokeFailedOnly_data()
{
    QTest::addColumn<QString>("member");
    QTest::newRow("unknown name") << QStringLiteral("explode");
    QTest::newRow("empty name") << QString();
    QTest::newRow("name with parameter list") << QStringLiteral("refreshed()");
}

void TestPluginBridge::emitPluginSignalUnknownMemberLogsInvokeFailedOnly()
{
    QFETCH(QString, member);
    QSignalSpy refreshed(&m_signals, &SignalPlugin::refreshed);
    QCOMPARE(Run(kEmitSignal, SignalArgs(QStringLiteral("SignalPlugin"), member)), Succeeded());
    QCOMPARE(refreshed.count(), 0);
    QCOMPARE(ErrorLines(),
             QStringList{QStringLiteral("UIRemoteControl::EmitPluginSignal, invoke plugin's method %1 is failed").arg(member)});
    QCOMPARE(LogTexts().size(), 1);
}

void TestPluginBridge::emitPluginSignalEmptyPluginNameWritesBothLines_data()
{
    QTest::addColumn<bool>("present");
    QTest::newRow("empty pluginName") << true;
    QTest::newRow("absent pluginName") << false;
}

void TestPluginBridge::emitPluginSignalEmptyPluginNameWritesBothLines()
{
    QFETCH(bool, present);
    QVariantMap args = SignalArgs(QString(), QStringLiteral("refreshed"));
    if (!present)
        args.remove(QStringLiteral("pluginName"));
    QSignalSpy refreshed(&m_signals, &SignalPlugin::refreshed);
    QCOMPARE(Run(kEmitSignal, args), Succeeded());
    QCOMPARE(refreshed.count(), 0);
    const QStringList expected{QStringLiteral("UIRemoteControl::EmitPluginSignal, can not find plugin "),
                               QStringLiteral("UIRemoteControl::EmitPluginSignal, invoke plugin's method refreshed is failed")};
    QCOMPARE(ErrorLines(), expected);
    QCOMPARE(LogTexts(), expected);
}

void TestPluginBridge::emitPluginSignalMissingPluginStillSucceeds_data()
{
    QTest::addColumn<QString>("plugin");
    QTest::newRow("no such context property") << QStringLiteral("Nobody");
    QTest::newRow("context property that is no object") << QStringLiteral("NotAnObject");
}

void TestPluginBridge::emitPluginSignalMissingPluginStillSucceeds()
{
    QFETCH(QString, plugin);
    QCOMPARE(Run(kEmitSignal, SignalArgs(plugin, QStringLiteral("refreshed"))), Succeeded());
    const QStringList expected{QStringLiteral("UIRemoteControl::EmitPluginSignal, can not find plugin %1").arg(plugin),
                               QStringLiteral("UIRemoteControl::EmitPluginSignal, invoke plugin's method refreshed is failed")};
    QCOMPARE(ErrorLines(), expected);
    QCOMPARE(LogTexts(), expected);
}

void TestPluginBridge::bridgeControlsReplyTrueOverTheTestingServer()
{
    UIRemoteControl server(m_scene.Root(), m_scene.Context(), TestSupport::FreePort(), m_scene.Window());
    QVERIFY(server.IsListening());
    TestSupport::ReplyClient client;
    client.ConnectTo(server.ServerPort());
    QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);

    const QJsonObject success{{QStringLiteral("result"), true}};
    const auto exchange = [&client](const QString &type, const QVariantMap &args) {
        const int before = client.replies.size();
        client.Send(QJsonDocument(QJsonObject{{type, QJsonObject::fromVariantMap(args)}}).toJson(QJsonDocument::Compact));
        return before;
    };

    // A missing plugin: both lines, and still {"result": true}.
    LogRecorder::Clear();
    int index = exchange(kEmitSignal, SignalArgs(QStringLiteral("Nobody"), QStringLiteral("refreshed")));
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), success);
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::EmitPluginSignal, can not find plugin Nobody"),
                                        QStringLiteral("UIRemoteControl::EmitPluginSignal, invoke plugin's method refreshed is failed")}));

    // A signal with a parameter: the call fails, the reply does not.
    LogRecorder::Clear();
    index = exchange(kEmitSignal, SignalArgs(QStringLiteral("SignalPlugin"), QStringLiteral("valueChanged")));
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), success);
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::EmitPluginSignal, invoke plugin's method valueChanged is failed")});

    // An argument-less signal is emitted.
    QSignalSpy refreshed(&m_signals, &SignalPlugin::refreshed);
    index = exchange(kEmitSignal, SignalArgs(QStringLiteral("SignalPlugin"), QStringLiteral("refreshed")));
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), success);
    QCOMPARE(refreshed.count(), 1);

    // The joystick controls answer true too.
    index = exchange(kMoveJoystick, {{QStringLiteral("pos_x"), 0.5}});
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), success);
    QCOMPARE(m_joystick.axisCalls.size(), 1);
    QCOMPARE(m_joystick.axisCalls.first().x, 0.5);
    QCOMPARE(m_joystick.axisCalls.first().y, 0.0);
    QCOMPARE(m_joystick.axisCalls.first().z, 0.0);

    index = exchange(kButtonEvent, {{QStringLiteral("model_name"), QStringLiteral("Gamepad")}, {QStringLiteral("key_id"), QStringLiteral("12")}});
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), success);
    QCOMPARE(m_joystick.buttonCalls.size(), 1);
    QCOMPARE(m_joystick.buttonCalls.first().keyId, 12);
    QCOMPARE(client.malformed, 0);
}

QTEST_MAIN(TestPluginBridge)
#include "tst_plugin_bridge.moc"
