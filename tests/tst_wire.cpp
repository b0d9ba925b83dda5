// Request parsing, reduction to ParsedMessageInfo, and reply serialisation.

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QtTest>

namespace {

ParsedMessageInfo Extract(const char *json)
{
    QVariant request;
    ParseJSON(QString::fromUtf8(json), request);
    ParsedMessageInfo info;
    info.Reset();
    ExtractParsedMessageInfo(request, info);
    return info;
}

} // namespace

class TestWire : public QObject {
    Q_OBJECT
private slots:
    void controlWordsAreTheTwentyInOrder()
    {
        const QStringList expected = {"addjoystick", "click", "dbclick", "drag", "drop", "emitpluginsignal",
                                      "getpro", "getfltmdlitemval", "getgrpmdlitemval", "getmdlitemval",
                                      "getwinname", "hover", "invoke", "invokeret", "joystickbuttonevent",
                                      "keyclick", "movejoystick", "press", "setpro", "waitsignal"};
        QCOMPARE(ControlTypeWords(), expected);
    }

    void parseRejectsEmptyAndNullText()
    {
        QVariant out(42);
        QVERIFY(!ParseJSON(QString(), out));
        QVERIFY(!ParseJSON(QStringLiteral(""), out));
        QCOMPARE(out, QVariant(42));
    }

    void parseRejectsMalformedAndEmptyDocuments()
    {
        QVariant out;
        QVERIFY(!ParseJSON(QStringLiteral("{\"click\":"), out));
        QVERIFY(!ParseJSON(QStringLiteral("not json"), out));
    }

    void emptyObjectParsesToAnEmptyMap()
    {
        // An empty object is a document with data; it fails later, for lack of a control type.
        QVariant out;
        QVERIFY(ParseJSON(QStringLiteral("{}"), out));
        QCOMPARE(out, QVariant(QVariantMap()));
    }

    void parseAcceptsArraysAndObjectsAsVariants()
    {
        QVariant out;
        QVERIFY(ParseJSON(QStringLiteral("[1,2]"), out));
        QCOMPARE(out.type(), QVariant::List);
        QVERIFY(ParseJSON(QStringLiteral("{\"getpro\":{\"objname\":\"\u00e9t\u00e9\"}}"), out));
        QCOMPARE(out.toMap().value("getpro").toMap().value("objname").toString(), QStringLiteral("\u00e9t\u00e9"));
    }

    void serializeIsIndentedWithClosingNewline()
    {
        QString text;
        QVERIFY(SerializeJSON(QVariantMap{{"result", true}, {"value", "a"}}, text));
        QCOMPARE(text, QStringLiteral("{\n    \"result\": true,\n    \"value\": \"a\"\n}\n"));
    }

    void serializeRejectsInvalidAndNull()
    {
        QString text = QStringLiteral("untouched");
        QVERIFY(!SerializeJSON(QVariant(), text));
        QVERIFY(!SerializeJSON(QVariant(QVariant::String), text));
        QCOMPARE(text, QStringLiteral("untouched"));
    }

    void controlKeySetsTypeAndArguments()
    {
        const ParsedMessageInfo info = Extract(R"({"click": {"objname": "a.b", "clickbtn": "right"}})");
        QCOMPARE(info.controlType, QStringLiteral("click"));
        QCOMPARE(info.args.value("objname").toString(), QStringLiteral("a.b"));
        QCOMPARE(info.args.value("clickbtn").toString(), QStringLiteral("right"));
        QCOMPARE(info.delay, 0);
    }

    void hoverSortsAfterClickAndWins()
    {
        const ParsedMessageInfo info = Extract(R"({"hover": {"objname": "h"}, "click": {"objname": "c"}})");
        QCOMPARE(info.controlType, QStringLiteral("hover"));
        QCOMPARE(info.args.value("objname").toString(), QStringLiteral("h"));
    }

    void strayPositiveKeyDelaysTheControl()
    {
        QCOMPARE(Extract(R"({"click": {}, "retrytimes": 3})").delay, 3);
        QCOMPARE(Extract(R"({"click": {}, "timeout": 3000})").delay, 3000);
        QCOMPARE(Extract(R"({"click": {}, "delay": "250"})").delay, 250);
    }

    void lastPositiveKeyInSortedOrderSetsTheDelay()
    {
        QCOMPARE(Extract(R"({"click": {}, "a": 10, "delay": 20, "zz": 30})").delay, 30);
        QCOMPARE(Extract(R"({"click": {}, "a": 10, "zz": -1})").delay, 10);
    }

    void zeroOrNegativeDelayRunsAtOnce()
    {
        QCOMPARE(Extract(R"({"click": {}, "delay": 0})").delay, 0);
        QCOMPARE(Extract(R"({"click": {}, "delay": -5})").delay, 0);
    }

    void controlWordsAreCaseSensitive()
    {
        const ParsedMessageInfo info = Extract(R"({"Click": {"objname": "a"}})");
        QVERIFY(info.controlType.isEmpty());
        QVERIFY(info.args.isEmpty());
    }

    void nonObjectArgumentsGiveAnEmptyMap()
    {
        const ParsedMessageInfo info = Extract(R"({"getpro": [1, 2]})");
        QCOMPARE(info.controlType, QStringLiteral("getpro"));
        QVERIFY(info.args.isEmpty());
    }

    void resetRestoresDefaults()
    {
        ParsedMessageInfo info = Extract(R"({"click": {"x": 1}, "delay": 9})");
        info.Reset();
        QVERIFY(info.controlType.isEmpty());
        QVERIFY(info.args.isEmpty());
        QCOMPARE(info.delay, 0);
    }
};

QTEST_GUILESS_MAIN(TestWire)
#include "tst_wire.moc"
