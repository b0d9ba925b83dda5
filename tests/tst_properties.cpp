// Property access ("getpro", "setpro"), window names ("getwinname") and method invocation
// ("invoke", "invokeret"), in-process through controlObject() and over the testing server.

#include "lookup_fixture.h"

#include <QQuickItem>
#include <QtTest>

#include <memory>

using LookupLog::Snapshot;
using LookupWire::Reply;
using LookupWire::Request;

class TestProperties : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<LookupScene> scene;

    QQuickItem *Item(const char *name) const { return scene->Named<QQuickItem>(QString::fromLatin1(name)); }
    QObject *MainView() const { return Item("mainView"); }
    int Bumps() const { return MainView()->property("bumps").toInt(); }

    // Runs one request in-process with a fresh control that has no default window.
    bool Run(const QVariantMap &request, QVariant &value)
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        return control.controlObject(request, value);
    }

private slots:
    void initTestCase()
    {
        scene.reset(new LookupScene);
        QVERIFY(scene->window);
        QVERIFY(Item("okButton"));
        QVERIFY(Item("label"));
        QCOMPARE(scene->backend->parent(), scene->root);
    }
    void cleanupTestCase() { scene.reset(); }
    void init() { LogRecorder::Clear(); }

    // ----- getpro ------------------------------------------------------------------------

    void getproReadsQmlAndCppProperties()
    {
        QVariant value;
        QVERIFY(Run(Request(R"({"getpro": {"parobjname": "mainView", "objname": "okButton", "property": "width"}})"), value));
        QCOMPARE(value.toDouble(), 80.0);
        QVERIFY(Run(Request(R"({"getpro": {"objname": "okButton", "property": "fixed"}})"), value));
        QCOMPARE(value, QVariant(7));
        scene->backend->setLevel(4);
        QVERIFY(Run(Request(R"({"getpro": {"objname": "backend", "property": "level"}})"), value));
        QCOMPARE(value, QVariant(4));
        QVERIFY(Run(Request(R"({"getpro": {"objname": "backend", "property": "serial"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("SN-1")));
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void getproEmptyPropertyNameFails()
    {
        QVariant value = QStringLiteral("stale");
        QVERIFY(!Run(Request(R"({"getpro": {"objname": "okButton", "property": ""}})"), value));
        QVERIFY(!value.isValid());
        QVERIFY(!Run(Request(R"({"getpro": {"objname": "okButton"}})"), value));
        QVERIFY(!value.isValid());
        // The object was found; the failed read itself writes nothing.
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
        QCOMPARE(TestSupport::LogTexts(3).size(), 2);
    }

    void getproUnknownPropertyFailsWithoutLogLine()
    {
        QVariant value;
        QVERIFY(!Run(Request(R"({"getpro": {"objname": "okButton", "property": "noSuchProperty"}})"), value));
        QVERIFY(!value.isValid());
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void getproEmptyStringValueSucceeds()
    {
        QCOMPARE(Item("label")->property("text"), QVariant(QString()));
        QVariant value;
        QVERIFY(Run(Request(R"({"getpro": {"objname": "label", "property": "text"}})"), value));
        QCOMPARE(value.userType(), int(QMetaType::QString));
        QCOMPARE(value.toString(), QString());
        QVERIFY(Run(Request(R"({"getpro": {"objname": "okButton", "property": "caption"}})"), value));
        QCOMPARE(value.userType(), int(QMetaType::QString));
        QVERIFY(value.toString().isEmpty());
    }

    void getproMissingObjectLogsLookupErrorOnly()
    {
        QVariant value;
        QVERIFY(!Run(Request(R"({"getpro": {"objname": "ghost", "property": "width"}})"), value));
        QVERIFY(!value.isValid());
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject ghost")});
    }

    void getproOverWire()
    {
        WireSession session(scene->root, scene->context(), scene->window);
        LOOKUP_OPEN_SESSION(session);
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"objname": "label", "property": "text"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": ""})"));
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"objname": "label", "property": ""}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": false})"));
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"objname": "okButton", "property": "fixed"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": 7})"));
    }

    // ----- setpro ------------------------------------------------------------------------

    void setproIntPropertyFromJsonNumber_data()
    {
        QTest::addColumn<QByteArray>("number");
        QTest::addColumn<int>("arrivesAs");
        // Qt 5.15's JSON layer keeps every integral number as a 64-bit integer, "5.0" included;
        // a fractional one stays a double and is rounded by the int property's conversion.
        QTest::newRow("5") << QByteArray("5") << int(QMetaType::LongLong);
        QTest::newRow("5.0") << QByteArray("5.0") << int(QMetaType::LongLong);
        QTest::newRow("4.6") << QByteArray("4.6") << int(QMetaType::Double);
    }
    void setproIntPropertyFromJsonNumber()
    {
        QFETCH(QByteArray, number);
        QFETCH(int, arrivesAs);
        const QVariantMap request =
            Request(QByteArray(R"({"setpro": {"objname": "okButton", "property": "count", "propval": )" + number + "}}").constData());
        QCOMPARE(request.value(QStringLiteral("setpro")).toMap().value(QStringLiteral("propval")).userType(), arrivesAs);
        Item("okButton")->setProperty("count", 0);
        QVariant value;
        QVERIFY(Run(request, value));
        QCOMPARE(Item("okButton")->property("count"), QVariant(5));
        QVERIFY(!value.isValid());
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void setproIntPropertyFromDoubleVariant()
    {
        // The in-process entry with the value a JSON number held in Qt 5.11: a plain double.
        const QVariantMap args{{QStringLiteral("objname"), QStringLiteral("okButton")},
                               {QStringLiteral("property"), QStringLiteral("count")},
                               {QStringLiteral("propval"), QVariant(5.0)}};
        Item("okButton")->setProperty("count", 0);
        QVariant value;
        QVERIFY(Run(QVariantMap{{QStringLiteral("setpro"), args}}, value));
        QCOMPARE(Item("okButton")->property("count"), QVariant(5));
        // A C++ int property converts the same way.
        const QVariantMap cppArgs{{QStringLiteral("objname"), QStringLiteral("backend")},
                                  {QStringLiteral("property"), QStringLiteral("level")},
                                  {QStringLiteral("propval"), QVariant(12.0)}};
        QVERIFY(Run(QVariantMap{{QStringLiteral("setpro"), cppArgs}}, value));
        QCOMPARE(scene->backend->level(), 12);
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void setproReadOnlyPropertyFails()
    {
        QVariant value;
        QVERIFY(!Run(Request(R"({"setpro": {"objname": "okButton", "property": "fixed", "propval": 8}})"), value));
        QCOMPARE(Item("okButton")->property("fixed"), QVariant(7));
        QVERIFY(!Run(Request(R"({"setpro": {"objname": "backend", "property": "serial", "propval": "SN-2"}})"), value));
        QCOMPARE(scene->backend->serial(), QStringLiteral("SN-1"));
        // A rejected write is reported by the result only.
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void setproUnknownOrInconvertibleValueFails()
    {
        QVariant value;
        QVERIFY(!Run(Request(R"({"setpro": {"objname": "okButton", "property": "noSuchProperty", "propval": 1}})"), value));
        Item("okButton")->setProperty("count", 3);
        QVERIFY(!Run(Request(R"({"setpro": {"objname": "okButton", "property": "count", "propval": {"a": 1}}})"), value));
        QCOMPARE(Item("okButton")->property("count"), QVariant(3));
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
        QVERIFY(!Run(Request(R"({"setpro": {"objname": "ghost", "property": "count", "propval": 1}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject ghost")});
    }

    void setproOverWire()
    {
        WireSession session(scene->root, scene->context(), scene->window);
        LOOKUP_OPEN_SESSION(session);
        Item("okButton")->setProperty("count", 0);
        LOOKUP_ROUND_TRIP(session, R"({"setpro": {"objname": "okButton", "property": "count", "propval": 5}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true})"));
        QCOMPARE(Item("okButton")->property("count"), QVariant(5));
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"objname": "okButton", "property": "count"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": 5})"));
        LOOKUP_ROUND_TRIP(session, R"({"setpro": {"objname": "okButton", "property": "fixed", "propval": 1}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": false})"));
    }

    // ----- getwinname --------------------------------------------------------------------

    void getwinnameReturnsWindowObjectName()
    {
        QVariant value;
        QVERIFY(Run(Request(R"({"getwinname": {"objname": "okButton"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("mainWindow")));
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void getwinnameItemWithoutWindowFails()
    {
        QQuickItem *floating = Item("floatingItem");
        QVERIFY(floating);
        QVERIFY(!floating->window());
        QVariant value = QStringLiteral("stale");
        QVERIFY(!Run(Request(R"({"getwinname": {"objname": "floatingItem"}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::DoGetWindowName, the object has no QQuickWindow")});
        QCOMPARE(value, QVariant(QStringLiteral("stale")));
    }

    void getwinnameUnnamedWindowReturnsEmptyString()
    {
        QQuickItem *item = Item("secondWindowItem");
        QVERIFY(item && item->window());
        QVERIFY(item->window()->objectName().isEmpty());
        QVariant value;
        QVERIFY(Run(Request(R"({"getwinname": {"objname": "secondWindowItem"}})"), value));
        QCOMPARE(value.userType(), int(QMetaType::QString));
        QCOMPARE(value.toString(), QString());
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void getwinnameOfNonItemFails()
    {
        QVariant value;
        QVERIFY(!Run(Request(R"({"getwinname": {"objname": "settings"}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::DoGetWindowName, the object is not a QQuickItem")});
        LogRecorder::Clear();
        QVERIFY(!Run(Request(R"({"getwinname": {"objname": "ghost"}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject ghost")});
    }

    void getwinnameOverWire()
    {
        WireSession session(scene->root, scene->context(), scene->window);
        LOOKUP_OPEN_SESSION(session);
        LOOKUP_ROUND_TRIP(session, R"({"getwinname": {"objname": "okButton"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": "mainWindow"})"));
        LOOKUP_ROUND_TRIP(session, R"({"getwinname": {"objname": "secondWindowItem"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": ""})"));
        LOOKUP_ROUND_TRIP(session, R"({"getwinname": {"objname": "floatingItem"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": false})"));
        LOOKUP_ROUND_TRIP(session, R"({"getwinname": {"objname": "mainView", "method": "currentButton"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": "mainWindow"})"));
    }

    // ----- invoke / invokeret ------------------------------------------------------------

    void invokeWithoutArgumentsCallsMethod_data()
    {
        QTest::addColumn<QByteArray>("args");
        QTest::newRow("mthargs absent") << QByteArray();
        QTest::newRow("mthargs empty") << QByteArray(R"(, "mthargs": [])");
    }
    void invokeWithoutArgumentsCallsMethod()
    {
        QFETCH(QByteArray, args);
        const int before = MainView()->property("noArgCalls").toInt();
        QVariant value;
        QVERIFY(Run(Request(QByteArray(R"({"invoke": {"objname": "mainView", "method": "noArgs")" + args + "}}").constData()), value));
        QCOMPARE(MainView()->property("noArgCalls").toInt(), before + 1);
        QVERIFY(!value.isValid());
        QVERIFY(Run(Request(QByteArray(R"({"invokeret": {"objname": "mainView", "method": "noArgs")" + args + "}}").constData()), value));
        QCOMPARE(value, QVariant(QStringLiteral("none")));
        QCOMPARE(MainView()->property("noArgCalls").toInt(), before + 2);
    }

    void invokeretWithOneArgument()
    {
        QVariant value;
        QVERIFY(Run(Request(R"({"invokeret": {"objname": "mainView", "method": "one", "mthargs": ["x"]}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("one:x")));
    }

    void invokeretWithTenArguments()
    {
        QVariant value;
        QVERIFY(Run(Request(R"({"invokeret": {"objname": "mainView", "method": "ten", "mthargs": [1, 2, 3, 4, 5, 6, 7, 8, 9, 10]}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("1,2,3,4,5,6,7,8,9,10")));
    }

    void elevenArgumentsCallMethodWithFirstTen()
    {
        MainView()->setProperty("lastArgs", QVariantList());
        QVariant value;
        QVERIFY(Run(Request(R"({"invokeret": {"objname": "mainView", "method": "ten", "mthargs": ["a", 2, 3, 4, 5, 6, 7, 8, 9, "j", "eleventh"]}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("a,2,3,4,5,6,7,8,9,j")));
        MainView()->setProperty("lastArgs", QVariantList());
        QVERIFY(Run(Request(R"({"invoke": {"objname": "mainView", "method": "ten", "mthargs": [1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11]}})"), value));
        const QVariantList received = MainView()->property("lastArgs").toList();
        QCOMPARE(received.size(), 10);
        QCOMPARE(received.last().toInt(), 10);
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void argumentCountMismatchFails()
    {
        QVariant value = QStringLiteral("sentinel");
        QVERIFY(!Run(Request(R"({"invokeret": {"objname": "mainView", "method": "two", "mthargs": [1]}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("sentinel")));
        QVERIFY(!Run(Request(R"({"invoke": {"objname": "mainView", "method": "two", "mthargs": [1]}})"), value));
        QVERIFY(!Run(Request(R"({"invoke": {"objname": "mainView", "method": "two", "mthargs": [1, 2, 3]}})"), value));
        QVERIFY(!Run(Request(R"({"invoke": {"objname": "mainView", "method": "two"}})"), value));
        // The matching count works, and the handler itself logs nothing on a mismatch.
        QVERIFY(Run(Request(R"({"invokeret": {"objname": "mainView", "method": "two", "mthargs": [1, 2]}})"), value));
        QCOMPARE(value.toInt(), 3);
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void unknownMethodFails()
    {
        QVariant value = QStringLiteral("sentinel");
        QVERIFY(!Run(Request(R"({"invokeret": {"objname": "mainView", "method": "noSuchFunction"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("sentinel")));
        QVERIFY(!Run(Request(R"({"invoke": {"objname": "ghost", "method": "bump"}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject ghost")});
    }

    void invokeretReturnsItemAsObject()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("mainView")},
                               {QStringLiteral("method"), QStringLiteral("currentButton")}};
        QVariant value;
        QVERIFY(control.DoInvokeRetMethod(args, value));
        QCOMPARE(qvariant_cast<QObject *>(value), static_cast<QObject *>(Item("okButton")));
        QVERIFY(control.controlObject(QVariantMap{{QStringLiteral("invokeret"), args}}, value));
        QCOMPARE(qvariant_cast<QObject *>(value), static_cast<QObject *>(Item("okButton")));
        // The unnamed lookup accepts exactly that value.
        QCOMPARE(control.FindUnnamedQMLObject(args), static_cast<QObject *>(Item("okButton")));
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void invokeretOfVoidMethodFails()
    {
        const int before = scene->backend->touchCalls;
        QVariant value = QStringLiteral("sentinel");
        // Asking for a QVariant result does not match a method that returns nothing.
        QVERIFY(!Run(Request(R"({"invokeret": {"objname": "backend", "method": "touch", "mthargs": ["t"]}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("sentinel")));
        QCOMPARE(scene->backend->touchCalls, before);
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
        // Without the result request the same method is called.
        QVERIFY(Run(Request(R"({"invoke": {"objname": "backend", "method": "touch", "mthargs": ["t"]}})"), value));
        QCOMPARE(scene->backend->touchCalls, before + 1);
        QCOMPARE(scene->backend->lastTouched, QVariant(QStringLiteral("t")));
    }

    void invokeretOfQmlFunctionWithoutReturnValueSucceeds()
    {
        // A QML function always declares a QVariant result; without a return it is undefined.
        const int before = Bumps();
        QVariant value = QStringLiteral("sentinel");
        QVERIFY(Run(Request(R"({"invokeret": {"objname": "mainView", "method": "returnsNothing"}})"), value));
        QVERIFY(!value.isValid());
        QCOMPARE(Bumps(), before + 1);
    }

    void nonVariantParameterMethodNotMatched()
    {
        QVariant value;
        QVERIFY(!Run(Request(R"({"invoke": {"objname": "backend", "method": "typed", "mthargs": [3]}})"), value));
        QVERIFY(!Run(Request(R"({"invokeret": {"objname": "backend", "method": "typed", "mthargs": [3]}})"), value));
        QCOMPARE(scene->backend->typedCalls, 0);
    }

    void argumentsPassedAsParsed()
    {
        // An echoing method hands back exactly the variant it was given.
        const QVariantMap request = Request(R"({"invokeret": {"objname": "backend", "method": "echo", "mthargs": [{"k": [1, "a", 2.5], "n": null}]}})");
        const QVariant sent = request.value(QStringLiteral("invokeret")).toMap().value(QStringLiteral("mthargs")).toList().value(0);
        QCOMPARE(sent.userType(), int(QMetaType::QVariantMap));
        QVariant value;
        QVERIFY(Run(request, value));
        QCOMPARE(value, sent);
        const QVariantList inner = value.toMap().value(QStringLiteral("k")).toList();
        QCOMPARE(inner.size(), 3);
        QCOMPARE(inner.at(1), QVariant(QStringLiteral("a")));
        QCOMPARE(inner.at(2), QVariant(2.5));
        QVERIFY(Run(Request(R"({"invokeret": {"objname": "backend", "method": "echo", "mthargs": [5.5]}})"), value));
        QCOMPARE(value, QVariant(5.5));
    }

    void invokeWithMethodKeyNeverTriggersUnnamedLookup()
    {
        const int before = Bumps();
        QVariant value;
        QVERIFY(Run(Request(R"({"invoke": {"objname": "mainView", "method": "bump"}})"), value));
        QCOMPARE(Bumps(), before + 1);
        QCOMPARE(TestSupport::LogTexts(3), QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView]"))});
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
        // "invokeret" likewise calls the method on the named object itself.
        QVERIFY(Run(Request(R"({"invokeret": {"objname": "mainView", "method": "currentButton"}})"), value));
        QCOMPARE(qvariant_cast<QObject *>(value), static_cast<QObject *>(Item("okButton")));
        // A property control with the same keys does go through the method's result.
        LogRecorder::Clear();
        QVERIFY(!Run(Request(R"({"getpro": {"objname": "mainView", "method": "bump", "property": "bumps"}})"), value));
        QCOMPARE(Bumps(), before + 2);
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindUnnamedQMLObject, the object is not a QObject")});
    }

    void invokeOverWire()
    {
        WireSession session(scene->root, scene->context(), scene->window);
        LOOKUP_OPEN_SESSION(session);
        const int before = MainView()->property("noArgCalls").toInt();
        LOOKUP_ROUND_TRIP(session, R"({"invoke": {"objname": "mainView", "method": "noArgs"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true})"));
        QCOMPARE(MainView()->property("noArgCalls").toInt(), before + 1);
        LOOKUP_ROUND_TRIP(session, R"({"invokeret": {"objname": "mainView", "method": "ten", "mthargs": [1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11]}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": "1,2,3,4,5,6,7,8,9,10"})"));
        LOOKUP_ROUND_TRIP(session, R"({"invoke": {"objname": "mainView", "method": "two", "mthargs": [1]}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": false})"));
        LOOKUP_ROUND_TRIP(session, R"({"invokeret": {"objname": "backend", "method": "touch", "mthargs": [1]}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": false})"));
        LOOKUP_ROUND_TRIP(session, R"({"invokeret": {"objname": "mainView", "method": "returnsNothing"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true})"));
    }
};

QTEST_MAIN(TestProperties)
#include "tst_properties.moc"
