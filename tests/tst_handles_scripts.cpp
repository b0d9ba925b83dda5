// Extension mode: object handles ("handle", "resolve", "handle" in place of "objname") and
// scripts ("evaluate"), against the extension scene over the wire; the handle table's bound.

#include "ObjectHandles.h"
#include "extension_fixture.h"

#include <vector>

class TestHandlesScripts : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<ExtensionSession> s;

    int HandleOf(const char *path)
    {
        const QJsonObject reply = s->Ask(QJsonObject{{"handle", QJsonObject{{"objname", path}}}});
        return reply.value("result").toBool() ? reply.value("value").toInt() : 0;
    }
    QJsonObject Evaluate(const QString &script, const QJsonArray &args = {}, const QJsonObject &more = {})
    {
        QJsonObject map = more;
        map.insert("script", script);
        map.insert("args", args);
        return s->Ask(QJsonObject{{"evaluate", map}});
    }

private slots:
    void init()
    {
        s.reset(new ExtensionSession(QStringLiteral("extension_scene.qml"), true));
        EXT_OPEN((*s));
        QVERIFY(QTest::qWaitForWindowExposed(s->scene.window));
    }
    void cleanup() { s.reset(); }

    // ----- handles ------------------------------------------------------------------------

    void theSameObjectKeepsItsHandle()
    {
        const int ok = HandleOf("okButton");
        QVERIFY(ok > 0);
        QCOMPARE(HandleOf("main.okButton"), ok);
        QCOMPARE(HandleOf("mainWindow.{Button text=\"OK\"}"), ok);
        const int list = HandleOf("list");
        QVERIFY(list > 0 && list != ok);
        QCOMPARE(s->Ask(QJsonObject{{"handle", QJsonObject{{"handle", ok}}}}), Success(ok));
        QCOMPARE(s->Ask(QJsonObject{{"resolve", QJsonObject{{"handle", ok}}}}),
                 Success(QJsonObject{{"path", "okButton"}, {"type", "Button"}, {"alive", true}}));
        const int push = HandleOf("main.{Button text=\"Push\"}[1]");
        QCOMPARE(s->Ask(QJsonObject{{"resolve", QJsonObject{{"handle", push}}}}).value("value").toObject().value("path"),
                 QJsonValue("main.{Button}[2]"));
    }

    void aHandleNamesItsObjectInEveryWord()
    {
        const int ok = HandleOf("okButton");
        // The handle wins over a path that names nothing, or another object.
        QCOMPARE(s->Ask(QJsonObject{{"getpro", QJsonObject{{"handle", ok}, {"objname", "nothing"}, {"property", "text"}}}}),
                 Success("OK"));
        QCOMPARE(s->Ask(QJsonObject{{"click", QJsonObject{{"handle", ok}, {"objname", "list"}}}}), Success());
        QCOMPARE(s->Named("okButton")->property("clicks").toInt(), 1);
        QCOMPARE(s->Ask(QJsonObject{{"setpro", QJsonObject{{"handle", ok}, {"property", "text"}, {"propval", "Yes"}}}}), Success());
        QCOMPARE(s->Named("okButton")->property("text").toString(), QStringLiteral("Yes"));
        QCOMPARE(s->Ask(QJsonObject{{"getwinname", QJsonObject{{"handle", ok}}}}), Success("mainWindow"));
        QCOMPARE(s->Ask(QJsonObject{{"tree", QJsonObject{{"handle", ok}, {"depth", 0}}}}).value("value").toObject().value("label"),
                 QJsonValue("okButton"));
        QCOMPARE(s->Ask(QJsonObject{{"getpro", QJsonObject{{"handle", ok}, {"property", "colour"}}}}),
                 Failure(QStringLiteral("object %1 has no property 'colour'").arg(ok)));
    }

    void aDestroyedObjectsHandleNamesNothing()
    {
        const QJsonObject made = Evaluate(
            "return Qt.createQmlObject('import QtQuick 2.15; Rectangle { objectName: \"temp\" }', arguments[0])",
            QJsonArray{QJsonObject{{"objname", "main"}}});
        QCOMPARE(made.value("result"), QJsonValue(true));
        const QJsonObject object = made.value("value").toObject();
        QCOMPARE(object.value("type"), QJsonValue("Rectangle"));
        QCOMPARE(object.value("path"), QJsonValue("temp"));
        const int temp = object.value("handle").toInt();
        QCOMPARE(HandleOf("temp"), temp);
        QPointer<QObject> guard = s->Named("temp");
        QVERIFY(guard);
        QCOMPARE(Evaluate("arguments[0].destroy()", QJsonArray{QJsonObject{{"handle", temp}}}), Success(QJsonValue::Null));
        QTRY_VERIFY(guard.isNull());
        const QJsonObject gone = Failure(QStringLiteral("object %1 was destroyed").arg(temp));
        QCOMPARE(s->Ask(QJsonObject{{"resolve", QJsonObject{{"handle", temp}}}}), gone);
        QCOMPARE(s->Ask(QJsonObject{{"getpro", QJsonObject{{"handle", temp}, {"property", "x"}}}}), gone);
        QCOMPARE(s->Ask(QJsonObject{{"click", QJsonObject{{"handle", temp}}}}), gone);
        QCOMPARE(Evaluate("return 1", QJsonArray{QJsonObject{{"handle", temp}}}), gone);
        // A new object gets a new handle, never the old one.
        const QJsonObject again = Evaluate(
            "return Qt.createQmlObject('import QtQuick 2.15; Rectangle { objectName: \"temp\" }', arguments[0])",
            QJsonArray{QJsonObject{{"objname", "main"}}});
        QVERIFY(again.value("value").toObject().value("handle").toInt() > temp);
        QCOMPARE(s->Ask(QJsonObject{{"resolve", QJsonObject{{"handle", 999999}}}}),
                 Failure(QStringLiteral("no object has the handle 999999")));
        QCOMPARE(s->Ask(QJsonObject{{"resolve", QJsonObject{{"handle", "x"}}}}),
                 Failure(QStringLiteral("a handle is a whole number from 1, not x")));
    }

    void outsideExtensionModeAHandleIsIgnored()
    {
        s.reset();
        ExtensionSession plain(QStringLiteral("extension_scene.qml"), false);
        EXT_OPEN(plain);
        QCOMPARE(plain.Ask(Json("{'getpro': {'objname': 'okButton', 'handle': 12345, 'property': 'text'}}")), Success("OK"));
        const QJsonObject refused{{"result", false}};
        QCOMPARE(plain.Ask(Json("{'handle': {'objname': 'okButton'}}")), refused);
        QCOMPARE(plain.Ask(Json("{'evaluate': {'script': 'return 1'}}")), refused);
    }

    void theTableIsBounded()
    {
        ObjectHandles handles;
        QObject parent;
        std::vector<QObject *> objects;
        QString reason;
        for (int i = 0; i < ObjectHandles::kMaxHandles; ++i) {
            objects.push_back(new QObject(&parent));
            QCOMPARE(handles.HandleOf(objects.back(), &reason), i + 1);
        }
        QObject extra;
        QCOMPARE(handles.HandleOf(&extra, &reason), 0);
        QCOMPARE(reason, QStringLiteral("100000 objects hold handles already"));
        delete objects[10];
        QCOMPARE(handles.HandleOf(&extra, &reason), ObjectHandles::kMaxHandles + 1);
        QVERIFY(!handles.ObjectOf(11, &reason));
        QCOMPARE(reason, QStringLiteral("object 11 was destroyed"));
        QCOMPARE(handles.ObjectOf(12, &reason), objects[11]);
        QCOMPARE(handles.HandleOf(objects[11], &reason), 12);
    }

    // ----- evaluate -----------------------------------------------------------------------

    void evaluateReturnsValues()
    {
        QCOMPARE(Evaluate("return 1 + 2"), Success(3));
        QCOMPARE(Evaluate("return arguments[0] * arguments[1]", QJsonArray{6, 7}), Success(42));
        QCOMPARE(Evaluate("return [arguments.length, typeof arguments[2], 'x']", QJsonArray{1, "a", true}),
                 Success(QJsonArray{3, "boolean", "x"}));
        QCOMPARE(Evaluate("return {a: [1, null], b: 'c'}"), Success(QJsonObject{{"a", QJsonArray{1, QJsonValue::Null}}, {"b", "c"}}));
        QCOMPARE(Evaluate("var x = 1"), Success(QJsonValue::Null));
        QCOMPARE(Evaluate("return arguments[0].k[1]", QJsonArray{QJsonObject{{"k", QJsonArray{1, 2}}}}), Success(2));
    }

    void evaluateTakesAndGivesObjects()
    {
        QCOMPARE(Evaluate("return arguments[0].text", QJsonArray{QJsonObject{{"objname", "okButton"}}}), Success("OK"));
        const int ok = HandleOf("okButton");
        QCOMPARE(Evaluate("arguments[0].clicked(); return arguments[0].clicks", QJsonArray{QJsonObject{{"handle", ok}}}), Success(1));
        QCOMPARE(Evaluate("return this.text + '!'", {}, QJsonObject{{"handle", ok}}), Success("OK!"));
        QCOMPARE(Evaluate("return this.objectName", {}, QJsonObject{{"objname", "list"}}), Success("list"));
        QCOMPARE(Evaluate("return arguments[0]", QJsonArray{QJsonObject{{"objname", "okButton"}}}),
                 Success(QJsonObject{{"type", "Button"}, {"path", "okButton"}, {"handle", ok}}));
        const QJsonObject listed = Evaluate("return [arguments[0].parent]", QJsonArray{QJsonObject{{"handle", ok}}});
        QCOMPARE(listed.value("value").toArray().first().toObject().value("path"), QJsonValue("main"));
        QCOMPARE(listed.value("value").toArray().first().toObject().value("handle"), QJsonValue(HandleOf("main")));
        // The scene's objects stay the scene's: collecting garbage leaves them alone.
        QCOMPARE(Evaluate("gc(); return arguments[0].text", QJsonArray{QJsonObject{{"objname", "okButton"}}}), Success("OK"));
        QVERIFY(s->Named("okButton"));
        QCOMPARE(Evaluate("return 1", QJsonArray{QJsonObject{{"objname", "nothing"}}}),
                 Failure(QStringLiteral("no object matches nothing")));
    }

    void evaluateFailsWithWhatWasThrown()
    {
        QCOMPARE(Evaluate("throw new Error('boom')"), Failure(QStringLiteral("Error: boom")));
        QCOMPARE(Evaluate("throw 'plain'"), Failure(QStringLiteral("plain")));
        QCOMPARE(Evaluate("return undefinedThing.x"), Failure(QStringLiteral("ReferenceError: undefinedThing is not defined")));
        const QJsonObject syntax = Evaluate("return (");
        QCOMPARE(syntax.value("result"), QJsonValue(false));
        QVERIFY2(syntax.value("error").toString().startsWith("SyntaxError"), qPrintable(syntax.value("error").toString()));
        QCOMPARE(s->Ask(Json("{'evaluate': {'args': []}}")), Failure(QStringLiteral("evaluate needs a \"script\" string")));
        QCOMPARE(s->Ask(Json("{'evaluate': {'script': 'return 1', 'args': 3}}")), Failure(QStringLiteral("\"args\" of evaluate is a list")));
    }

    void aScriptThatRunsTooLongIsInterrupted()
    {
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(Evaluate("while (true) {}", {}, QJsonObject{{"timeout", 300}}),
                 Failure(QStringLiteral("the script ran longer than 300 ms and was interrupted")));
        QVERIFY(timer.elapsed() < 5000);
        QCOMPARE(Evaluate("for (;;) { try { while (true) {} } catch (e) {} }", {}, QJsonObject{{"timeout", 100}}),
                 Failure(QStringLiteral("the script ran longer than 100 ms and was interrupted")));
        // The engine runs scripts again, and the scene's own bindings too.
        QCOMPARE(Evaluate("return 5"), Success(5));
        QCOMPARE(s->Ask(Json("{'invokeret': {'objname': 'mainWindow', 'method': 'addInts', 'mthargs': [2, 3]}}")), Success(5));
    }
};

QTEST_MAIN(TestHandlesScripts)
#include "tst_handles_scripts.moc"
