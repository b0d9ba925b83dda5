// Selectors in object paths and the reasons of false replies, in extension mode; and the proof
// that with extension mode off braces are name characters and replies carry nothing new.

#include "Selector.h"
#include "extension_fixture.h"

#include <QPointer>

class TestSelectors : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<ExtensionSession> s;

    QJsonObject Text(const QString &path)
    {
        return s->Ask(QJsonObject{{"getpro", QJsonObject{{"objname", path}, {"property", "text"}}}});
    }

private slots:
    void init()
    {
        s.reset(new ExtensionSession(QStringLiteral("extension_scene.qml"), true));
        EXT_OPEN((*s));
    }
    void cleanup() { s.reset(); }

    // ----- grammar ----------------------------------------------------------------------

    void parseSplitsNamesAndSelectors()
    {
        Selector::Path path;
        QVERIFY(Selector::Parse(QStringLiteral("stack.{Button text=\"a.b}\" checked=true}[2].x"), path));
        QCOMPARE(path.size(), 3);
        QCOMPARE(path.at(0).name, QStringLiteral("stack"));
        QVERIFY(!path.at(0).isSelector);
        QVERIFY(path.at(1).isSelector);
        QCOMPARE(path.at(1).type, QStringLiteral("Button"));
        QCOMPARE(path.at(1).properties.size(), 2);
        QCOMPARE(path.at(1).properties.at(0).first, QStringLiteral("text"));
        QCOMPARE(path.at(1).properties.at(0).second, QVariant(QStringLiteral("a.b}")));
        QCOMPARE(path.at(1).properties.at(1).second, QVariant(true));
        QCOMPARE(path.at(1).index, 2);
        QCOMPARE(path.at(2).name, QStringLiteral("x"));
        QVERIFY(Selector::Parse(QStringLiteral("{text=\"Push\"}"), path));
        QVERIFY(path.at(0).type.isEmpty());
        QVERIFY(Selector::Parse(QStringLiteral("a..b{c}"), path)); // braces inside a name: a name
        QCOMPARE(path.size(), 3);
        QVERIFY(!Selector::HasSelector(path));
        QCOMPARE(path.at(2).name, QStringLiteral("b{c}"));
        QVERIFY(Selector::Parse(QStringLiteral("{ToolTip.visible=false value=-1.5e0 x=null}"), path));
        QCOMPARE(path.at(0).properties.at(0).first, QStringLiteral("ToolTip.visible"));
        QCOMPARE(path.at(0).properties.at(1).second.toDouble(), -1.5);
    }

    void parseRejectsMalformedSelectors_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("error");
        QTest::newRow("unclosed") << "{Button" << "bad selector at character 8: missing '}'";
        QTest::newRow("no value") << "{Button text=}" << "bad selector at character 14: the value of 'text' is not a JSON literal";
        QTest::newRow("bare word value") << "{text=Push}" << "bad selector at character 7: the value of 'text' is not a JSON literal";
        QTest::newRow("open string") << "{text=\"Push}" << "bad selector at character 13: unterminated string";
        QTest::newRow("second type") << "{Button Label}" << "bad selector at character 14: 'Label' needs '=' and a value";
        QTest::newRow("bad index") << "{Button}[x]" << "bad selector at character 9: the index must be a number from 0 in [ ]";
        QTest::newRow("negative index") << "{Button}[-1]" << "bad selector at character 9: the index must be a number from 0 in [ ]";
        QTest::newRow("text after") << "{Button}x.y" << "bad selector at character 9: '.' expected";
        QTest::newRow("object value") << "{a={}}" << "bad selector at character 4: the value of 'a' is not a JSON literal";
    }
    void parseRejectsMalformedSelectors()
    {
        QFETCH(QString, path);
        QFETCH(QString, error);
        Selector::Path segments;
        QString reason;
        QVERIFY(!Selector::Parse(path, segments, &reason));
        QCOMPARE(reason, error);
        QCOMPARE(Text(path), Failure(error + QStringLiteral(" in ") + path));
    }

    void typeNamesDropPrefixAndSuffixes()
    {
        QCOMPARE(Selector::ShortTypeName("QQuickButton"), QStringLiteral("Button"));
        QCOMPARE(Selector::ShortTypeName("Button_QMLTYPE_0_QML_10"), QStringLiteral("Button"));
        QCOMPARE(Selector::ShortTypeName("QQuickWindowQmlImpl"), QStringLiteral("Window"));
        QCOMPARE(Selector::ShortTypeName("Main_QMLTYPE_12"), QStringLiteral("Main"));
        QCOMPARE(Selector::ShortTypeName("QObject"), QStringLiteral("QObject"));
        QCOMPARE(Selector::ShortTypeName("QQuick"), QStringLiteral("QQuick"));
    }

    // ----- selectors in the search --------------------------------------------------------

    void selectorsFindByTypeTextAndIndex()
    {
        QCOMPARE(Text("{Button}"), Success("OK"));
        QCOMPARE(Text("{QQuickButton}"), Success("OK"));
        QCOMPARE(Text("{Button text=\"Push\"}"), Success("Push"));
        QCOMPARE(Text("{CheckBox}[2]"), Success("third"));
        QCOMPARE(Text("{CheckBox checked=true}"), Success("second"));
        QCOMPARE(Text("{AbstractButton}[3]"), Success("first")); // up the class chain
        QCOMPARE(Text("main.{text=\"third\"}"), Success("third"));
        QCOMPARE(Text("list.{Text}[3]"), Success("row 3")); // a view's delegate
        // The second "Push" button is the one the index picks.
        const QJsonObject second = s->Ask(QJsonObject{{"click", QJsonObject{{"objname", "{Button text=\"Push\"}[1]"}, {"winobjname", "mainWindow"}}}});
        QCOMPARE(second, Success());
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'main.{Button}[2]', 'property': 'clicks'}}")), Success(1));
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'main.{Button}[1]', 'property': 'clicks'}}")), Success(0));
    }

    void selectorWithParentName()
    {
        QCOMPARE(s->Ask(Json("{'getpro': {'parobjname': 'main', 'objname': '{CheckBox}[1]', 'property': 'text'}}")),
                 Success("second"));
    }

    void selectorThatMatchesNothingGivesReason()
    {
        QCOMPARE(Text("{CheckBox}[9]"), Failure("no object matches {CheckBox}[9]"));
        QCOMPARE(Text("main.{Slider}"), Failure("no object matches main.{Slider}"));
        QCOMPARE(Text("{Button text=\"Nope\"}"), Failure("no object matches {Button text=\"Nope\"}"));
    }

    void deletedObjectIsNoLongerFound()
    {
        QCOMPARE(Text("{CheckBox}[2]"), Success("third"));
        QCOMPARE(s->Ask(Json("{'invoke': {'objname': '{CheckBox}[2]', 'method': 'deleteLater'}}")), Success());
        QTRY_COMPARE_WITH_TIMEOUT(Text("{CheckBox}[2]"), Failure("no object matches {CheckBox}[2]"), 5000);
        QCOMPARE(Text("{CheckBox}[1]"), Success("second"));
    }

    // ----- reasons ------------------------------------------------------------------------

    void reasonsOfFailedControls()
    {
        QCOMPARE(Text("main.okButon"), Failure("no object matches main.okButon; closest: main.okButton"));
        QCOMPARE(Text("okButon"), Failure("no object matches okButon; closest: okButton"));
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'okButton', 'property': 'colour'}}")),
                 Failure("okButton has no property 'colour'"));
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'okButton'}}")), Failure("no property given"));
        QCOMPARE(s->Ask(Json("{'setpro': {'objname': 'okButton', 'property': 'colour', 'propval': 1}}")),
                 Failure("okButton has no property 'colour'"));
        QCOMPARE(s->Ask(Json("{'setpro': {'objname': 'okButton', 'property': 'pressed', 'propval': true}}")),
                 Failure("property 'pressed' of okButton is read-only"));
        QCOMPARE(s->Ask(Json("{'invokeret': {'objname': 'list', 'method': 'itemAtIndex'}}")),
                 Failure("method itemAtIndex(int) needs 1 argument"));
        QCOMPARE(s->Ask(Json("{'invokeret': {'objname': 'list', 'method': 'itemAtIndex', 'mthargs': ['one']}}")),
                 Failure("method itemAtIndex(int) does not take these arguments"));
        QCOMPARE(s->Ask(Json("{'invoke': {'objname': 'okButton', 'method': 'explode'}}")),
                 Failure("okButton has no method 'explode'"));
        // A click that names no window acts in its item's own window.
        QCOMPARE(s->Ask(Json("{'click': {'objname': 'okButton'}}")), Json("{'result': true}"));
        QCOMPARE(s->Ask(Json("{'click': {'objname': 'okButton', 'winobjname': ''}}")), Json("{'result': true}"));
        QCOMPARE(s->Ask(Json("{'click': {'objname': 'plainObject', 'winobjname': 'mainWindow'}}")),
                 Failure("plainObject is not a visual item"));
        QCOMPARE(s->Ask(Json("{'getwinname': {'objname': 'plainObject'}}")), Failure("plainObject is not a visual item"));
        QCOMPARE(s->Ask(Json("{'waitsignal': {'objname': 'plainObject', 'signal': 'pong()', 'timeout': 10}}")),
                 Failure("plainObject has no signal 'pong()'"));
        QCOMPARE(s->Ask(Json("{'waitsignal': {'objname': 'plainObject', 'signal': 'ping()', 'timeout': 10}}")),
                 Failure("no ping() from plainObject within 10 ms"));
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'main', 'method': 'noSuchMethod', 'property': 'x'}}")),
                 Failure("main has no method 'noSuchMethod'"));
        QCOMPARE(s->Ask(QByteArray("{\"getpro\": ")), Failure("the message is not a JSON object"));
        QCOMPARE(s->Ask(Json("{'nosuchword': {}}")), Failure("the message names no control"));
    }

    void windowReasonsWithoutDefaultWindow()
    {
        ExtensionSession bare(QStringLiteral("extension_scene.qml"), true, false);
        EXT_OPEN(bare);
        QCOMPARE(bare.Ask(Json("{'keyclick': {'winobjname': 'nowin', 'key': 65}}")), Failure("window 'nowin' not found"));
        QCOMPARE(bare.Ask(Json("{'click': {'objname': 'okButton', 'winobjname': 'nowin'}}")),
                 Failure("window 'nowin' not found"));
    }

    void successfulRepliesCarryNoError()
    {
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'okButton', 'property': 'text'}}")), Success("OK"));
        // A reason left by a failed search that a later step recovered from is not kept.
        QCOMPARE(s->Ask(Json("{'getwinname': {'objname': 'okButton'}}")), Success("mainWindow"));
    }

    // ----- extension mode off -------------------------------------------------------------

    void offModeKeepsRepliesAndTreatsBracesAsNames()
    {
        ExtensionSession off(QStringLiteral("extension_scene.qml"), false);
        EXT_OPEN(off);
        const QJsonObject bare{{"result", false}};
        QCOMPARE(off.Ask(Json("{'getpro': {'objname': '{odd}', 'property': 'marker'}}")), Success(5));
        QCOMPARE(off.Ask(Json("{'getpro': {'objname': '{Button}', 'property': 'text'}}")), bare);
        QCOMPARE(off.Ask(Json("{'getpro': {'objname': 'main.okButon', 'property': 'text'}}")), bare);
        QCOMPARE(off.Ask(Json("{'getpro': {'objname': 'okButton', 'property': 'colour'}}")), bare);
        QCOMPARE(off.Ask(Json("{'getpro': {'objname': 'okButton', 'property': 'ToolTip.text'}}")), bare);
        QCOMPARE(off.Ask(Json("{'invokeret': {'objname': 'list', 'method': 'itemAtIndex', 'mthargs': [1]}}")), bare);
        QCOMPARE(off.Ask(Json("{'tree': {}}")), bare);
        QCOMPARE(off.Ask(Json("{'find': {'type': 'Button'}}")), bare);
        QCOMPARE(off.Ask(Json("{'screenshot': {}}")), bare);
        QCOMPARE(off.Ask(QByteArray("{\"getpro\": ")), bare);
        // In extension mode the same braces are a selector (no type "odd").
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': '{odd}', 'property': 'marker'}}")),
                 Failure("no object matches {odd}"));
    }
};

QTEST_MAIN(TestSelectors)
#include "tst_selectors.moc"
