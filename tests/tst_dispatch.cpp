// Control dispatch: the table of control types, the in-process call, replies with and without
// value, the delay timer.

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QtTest>

using namespace TestSupport;

namespace {

// Records which handler the dispatcher picked; every handler answers true with its own name.
class RecordingControl : public UIRemoteControl {
public:
    RecordingControl() : UIRemoteControl(nullptr, nullptr, nullptr) {}
    QStringList calls;

protected:
    bool Note(const char *name, QVariant *value = nullptr)
    {
        calls.append(QLatin1String(name));
        if (value)
            *value = QLatin1String(name);
        return true;
    }
    bool DoInvokeMethod(const ArgumentMap &) override { return Note("DoInvokeMethod"); }
    bool DoInvokeRetMethod(const ArgumentMap &, QVariant &v) const override
    {
        const_cast<RecordingControl *>(this)->calls.append(QStringLiteral("DoInvokeRetMethod"));
        v = QStringLiteral("DoInvokeRetMethod");
        return true;
    }
    bool DoGetProperty(const ArgumentMap &, QVariant &v) override { return Note("DoGetProperty", &v); }
    bool DoSetProperty(const ArgumentMap &) override { return Note("DoSetProperty"); }
    bool DoClick(const ArgumentMap &, bool dbl) override { return Note(dbl ? "DoClick(double)" : "DoClick"); }
    bool DoHover(const ArgumentMap &) override { return Note("DoHover"); }
    bool DoDrag(const ArgumentMap &) override { return Note("DoDrag"); }
    bool DoDrop(const ArgumentMap &) override { return Note("DoDrop"); }
    bool DoPress(const ArgumentMap &) override { return Note("DoPress"); }
    bool DoKeyClick(const ArgumentMap &) override { return Note("DoKeyClick"); }
    bool DoWaitSignal(const ArgumentMap &) override { return Note("DoWaitSignal"); }
    bool DoGetModelValue(const ArgumentMap &, QVariant &v) override { return Note("DoGetModelValue", &v); }
    bool DoGetGroupModelValue(const ArgumentMap &, QVariant &v) override { return Note("DoGetGroupModelValue", &v); }
    bool DoGetFilterModelValue(const ArgumentMap &, QVariant &v) override { return Note("DoGetFilterModelValue", &v); }
    bool DoGetWindowName(const ArgumentMap &, QVariant &v) override { return Note("DoGetWindowName", &v); }
    void DoJoystickButtonEvent(const ArgumentMap &) override { calls.append(QStringLiteral("DoJoystickButtonEvent")); }
    void DoAddJoystick(const ArgumentMap &) override { calls.append(QStringLiteral("DoAddJoystick")); }
};

QVariantMap Request(const QString &type, const QVariantMap &args = QVariantMap())
{
    return QVariantMap{{type, args}};
}

} // namespace

class TestDispatch : public QObject {
    Q_OBJECT
private slots:
    void init() { LogRecorder::Clear(); }

    void everyControlTypeReachesItsHandler_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("handler");
        QTest::addColumn<bool>("hasValue");
        QTest::newRow("invoke") << "invoke" << "DoInvokeMethod" << false;
        QTest::newRow("invokeret") << "invokeret" << "DoInvokeRetMethod" << true;
        QTest::newRow("getpro") << "getpro" << "DoGetProperty" << true;
        QTest::newRow("setpro") << "setpro" << "DoSetProperty" << false;
        QTest::newRow("click") << "click" << "DoClick" << false;
        QTest::newRow("dbclick") << "dbclick" << "DoClick(double)" << false;
        QTest::newRow("hover") << "hover" << "DoHover" << false;
        QTest::newRow("waitsignal") << "waitsignal" << "DoWaitSignal" << false;
        QTest::newRow("getmdlitemval") << "getmdlitemval" << "DoGetModelValue" << true;
        QTest::newRow("getgrpmdlitemval") << "getgrpmdlitemval" << "DoGetGroupModelValue" << true;
        QTest::newRow("getfltmdlitemval") << "getfltmdlitemval" << "DoGetFilterModelValue" << true;
        QTest::newRow("drag") << "drag" << "DoDrag" << false;
        QTest::newRow("drop") << "drop" << "DoDrop" << false;
        QTest::newRow("press") << "press" << "DoPress" << false;
        QTest::newRow("keyclick") << "keyclick" << "DoKeyClick" << false;
        QTest::newRow("getwinname") << "getwinname" << "DoGetWindowName" << true;
        QTest::newRow("joystickbuttonevent") << "joystickbuttonevent" << "DoJoystickButtonEvent" << false;
        QTest::newRow("addjoystick") << "addjoystick" << "DoAddJoystick" << false;
    }
    void everyControlTypeReachesItsHandler()
    {
        QFETCH(QString, type);
        QFETCH(QString, handler);
        QFETCH(bool, hasValue);
        RecordingControl control;
        QVariant value;
        QVERIFY(control.controlObject(Request(type), value));
        QCOMPARE(control.calls, QStringList({handler}));
        QCOMPARE(value.isValid(), hasValue);
    }

    void bridgeControlsAreAlwaysTrue_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("function");
        QTest::newRow("emitpluginsignal") << "emitpluginsignal" << "UIRemoteControl::EmitPluginSignal";
        QTest::newRow("movejoystick") << "movejoystick" << "UIRemoteControl::MoveJoystick";
        QTest::newRow("joystickbuttonevent") << "joystickbuttonevent" << "UIRemoteControl::DoJoystickButtonEvent";
        QTest::newRow("addjoystick") << "addjoystick" << "UIRemoteControl::DoAddJoystick";
    }
    void bridgeControlsAreAlwaysTrue()
    {
        QFETCH(QString, type);
        QFETCH(QString, function);
        UIRemoteControl control(nullptr, nullptr, nullptr); // no context: the plugin cannot be found
        QVariant value;
        QVERIFY(control.controlObject(Request(type), value));
        QVERIFY(!value.isValid());
        QCOMPARE(ErrorLines().size(), 2);
        QVERIFY(ErrorLines()[0].startsWith(function + QStringLiteral(", can not find plugin")));
        QVERIFY(ErrorLines()[1].startsWith(function + QStringLiteral(", invoke plugin's method")));
    }

    void requestWithoutControlKeyIsNotSupported()
    {
        UIRemoteControl control(nullptr, nullptr, nullptr);
        QVariant value(7);
        QVERIFY(!control.controlObject(QVariantMap{{"delay", 5}}, value));
        QVERIFY(!value.isValid());
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::Action, control type not support"}));
    }

    void unknownControlTypeIsNotSupported()
    {
        RecordingControl control;
        QVariant value;
        QVERIFY(!control.controlObject(Request("Click"), value));
        QVERIFY(control.calls.isEmpty());
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::Action, control type not support"}));
    }

    void inProcessCallIgnoresTheDelay()
    {
        RecordingControl control;
        QVariant value;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(control.controlObject(QVariantMap{{"getpro", QVariantMap()}, {"delay", 60000}}, value));
        QVERIFY(clock.elapsed() < 30000);
        QCOMPARE(control.calls, QStringList({"DoGetProperty"}));
    }

    void sortedKeyRuleRunsHoverNotClick()
    {
        RecordingControl control;
        QVariant value;
        QVERIFY(control.controlObject(QVariantMap{{"hover", QVariantMap()}, {"click", QVariantMap()}}, value));
        QCOMPARE(control.calls, QStringList({"DoHover"}));
    }

    void scriptValuesBecomePlainVariants()
    {
        Scene scene(QStringLiteral("spine_scene.qml"));
        QVERIFY(scene.root);
        UIRemoteControl control(scene.root, scene.engine.rootContext(), scene.window);
        QVariant value;
        QVERIFY(control.controlObject(Request("invokeret", {{"objname", "main.button"}, {"method", "pair"}}), value));
        QCOMPARE(value.userType(), int(QMetaType::QVariantList));
        QCOMPARE(value.toList(), (QVariantList{1, "two"}));
        QVERIFY(control.controlObject(Request("invokeret", {{"objname", "main.button"}, {"method", "record"}}), value));
        QCOMPARE(value.toMap().value("name").toString(), QStringLiteral("x"));
        QCOMPARE(value.toMap().value("size").toInt(), 3);
    }

    void getwinnameReplyHasValueClickReplyHasNone()
    {
        Scene scene(QStringLiteral("spine_scene.qml"));
        QVERIFY(scene.window);
        QVERIFY(QTest::qWaitForWindowExposed(scene.window));
        UIRemoteControl remote(scene.root, scene.engine.rootContext(), FreePort(), scene.window);
        ReplyClient client;
        client.ConnectTo(remote.ServerPort());
        QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);
        client.Send(R"({"getwinname": {"objname": "main.button"}})"
                    R"({"click": {"objname": "main.button", "winobjname": "spineWindow"}})"
                    R"({"getpro": {"objname": "main.button", "property": "clicks"}})"
                    R"({"invokeret": {"objname": "main.button", "method": "pair"}})");
        QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 4, 5000);
        QCOMPARE(client.replies[0], (QJsonObject{{"result", true}, {"value", "spineWindow"}}));
        QCOMPARE(client.replies[1], (QJsonObject{{"result", true}}));
        QCOMPARE(client.replies[2], (QJsonObject{{"result", true}, {"value", 1}}));
        QCOMPARE(client.replies[3], (QJsonObject{{"result", true}, {"value", QJsonArray{1, "two"}}}));
    }

    void deletedRootObjectMakesLookupsFailSafely()
    {
        auto *root = new QObject;
        root->setObjectName(QStringLiteral("root"));
        UIRemoteControl control(root, nullptr, nullptr);
        QVariant value;
        QVERIFY(control.controlObject(Request("invoke", {{"objname", "root"}, {"method", "deleteLater"}}), value));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        LogRecorder::Clear();
        QVERIFY(!control.controlObject(Request("getpro", {{"objname", "root"}, {"property", "objectName"}}), value));
        QCOMPARE(LogTexts(3), QStringList({"RouteStack::DumpSnapshots, invalid argument: []"}));
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::FindNamedQMLObject, can not find QObject root"}));
    }

    void coordinatesBeyondIntRangeAreClamped()
    {
        Scene scene(QStringLiteral("spine_scene.qml"));
        QVERIFY(scene.window);
        UIRemoteControl control(scene.root, scene.engine.rootContext(), scene.window);
        QVariant value;
        const QVariantMap target{{"objname", "main.button"}, {"winobjname", "spineWindow"}};
        QVariantMap drag = target;
        drag.insert({{"from_x", 2147483647}, {"from_y", -2147483647}, {"to_x", 2147483647}, {"to_y", 1}});
        QVERIFY(control.controlObject(Request("drag", drag), value));
        QVariantMap click = target;
        click.insert({{"x", 2147483647}, {"y", 2147483647}});
        QVERIFY(control.controlObject(Request("click", click), value));
        QVERIFY(control.controlObject(Request("drop", target), value));
    }

    void emitpluginsignalRepliesTrueWhenPluginMissing()
    {
        QObject root;
        UIRemoteControl remote(&root, nullptr, FreePort(), nullptr);
        ReplyClient client;
        client.ConnectTo(remote.ServerPort());
        QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);
        client.Send(R"({"emitpluginsignal": {"pluginName": "NoSuchPlugin", "signalName": "fire"}})");
        QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 1, 5000);
        QCOMPARE(client.replies[0], (QJsonObject{{"result", true}}));
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::EmitPluginSignal, can not find plugin NoSuchPlugin",
                                            "UIRemoteControl::EmitPluginSignal, invoke plugin's method fire is failed"}));
    }

    void delayTimerFiresEachCallableOnce()
    {
        MyTimer timer;
        int fired = 0;
        QVERIFY(timer.Start(1, [&] { ++fired; }) != 0);
        QVERIFY(timer.Start(1, [&] { fired += 10; }) != 0);
        QCOMPARE(timer.PendingCount(), 2);
        QTRY_COMPARE_WITH_TIMEOUT(fired, 11, 5000);
        QCOMPARE(timer.PendingCount(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(fired, 11);
    }

    void delayTimerIgnoresForeignTimerIds()
    {
        MyTimer timer;
        int fired = 0;
        timer.Start(60000, [&] { ++fired; });
        QTimerEvent foreign(987654);
        QCoreApplication::sendEvent(&timer, &foreign);
        QCOMPARE(fired, 0);
        QCOMPARE(timer.PendingCount(), 1);
    }
};

QTEST_MAIN(TestDispatch)
#include "tst_dispatch.moc"
