// Request parsing, reduction to ParsedMessageInfo, and reply serialisation.

#include "TestSupport.h"
#include "QtCompat.h"
#include "UIRemoteControl.h"
#include "WireText.h"

#include <QColor>
#include <QtTest>

#include <cmath>

#include <random>

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

// What the server did with every message and reply before they stayed bytes: the QString way.
bool ParseByText(const QByteArray &bytes, QVariant &out)
{
    const QString text = QString::fromUtf8(bytes.constData(), bytes.size());
    return !text.isEmpty() && ParseJSON(text, out);
}

QByteArray SerializeByText(const QVariant &value)
{
    QString text;
    SerializeJSON(value, text);
    return text.toUtf8();
}

// Byte strings around every edge of UTF-8: each lead byte with short, long and stray
// continuations, overlongs, surrogates, noncharacters, byte order marks, NUL bytes.
QList<QByteArray> Utf8Edges()
{
    QList<QByteArray> all = {
        QByteArray(), QByteArray("", 1), QByteArray("a\0b", 3), "plain", "\xEF\xBB\xBF", "\xEF\xBB\xBF{}",
        "{}\xEF\xBB\xBF", "\xEF\xBB", "\xC3\xA9", "\xC3", "\xC3\x28", "\xC0\xAF", "\xC1\xBF", "\xE0\x80\x80",
        "\xE0\xA0\x80", "\xED\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xEE\x80\x80", "\xEF\xB7\x8F",
        "\xEF\xB7\x90", "\xEF\xB7\xAF", "\xEF\xB7\xB0", "\xEF\xBF\xBD", "\xEF\xBF\xBE", "\xEF\xBF\xBF",
        "\xF0\x80\x80\x80", "\xF0\x90\x80\x80", "\xF0\x9F\x98\x80", "\xF0\x9F\xBF\xBE", "\xF4\x8F\xBF\xBD",
        "\xF4\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80", "\xFE", "\xFF",
        "\x80", "\xBF", "a\xEF\xBB\xBF", "\xE2\x82", "\xE2\x82\xAC", "\xF0\x9F\x98",
    };
    std::mt19937 random(16);
    for (int i = 0; i < 20000; ++i) {
        QByteArray bytes;
        const int size = int(random() % 8);
        for (int k = 0; k < size; ++k) {
            // Mostly the bytes that matter: leads, continuations, a few ASCII.
            static const unsigned char pool[] = {0x00, 0x22, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xB7, 0xBB, 0xBE,
                                                 0xBF, 0xC0, 0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF};
            bytes.append(char(random() % 3 ? pool[random() % sizeof pool] : random() % 256));
        }
        all.append(bytes);
    }
    return all;
}

} // namespace

class TestWire : public QObject {
    Q_OBJECT
private slots:
    void controlWordsAreTheTwentySorted()
    {
        const QStringList expected = {"addjoystick", "click", "dbclick", "drag", "drop", "emitpluginsignal",
                                      "getfltmdlitemval", "getgrpmdlitemval", "getmdlitemval", "getpro",
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
        QCOMPARE(out.userType(), int(QMetaType::QVariantList));
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
        QVERIFY(!SerializeJSON(QtCompat::BlankValue(QMetaType::QString), text)); // a null string
        QCOMPARE(text, QStringLiteral("untouched"));
    }

    // The server keeps messages and replies as bytes when they are certain to survive the
    // detour through QString unchanged; the check must never say so when they would not.
    void bytesKeptAsTheyAreOnlyWhenTheyRoundTripUnchanged()
    {
        for (const QByteArray &bytes : Utf8Edges()) {
            if (WireText::RoundTripsUnchanged(bytes.constData(), bytes.size()))
                QCOMPARE(QString::fromUtf8(bytes.constData(), bytes.size()).toUtf8(), bytes);
        }
        // Ordinary text is kept: ASCII, NUL bytes, accents, CJK, emoji.
        for (const char *text : {"{\"getpro\":{}}", "caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80", ""})
            QVERIFY(WireText::RoundTripsUnchanged(text, int(qstrlen(text))));
        QVERIFY(WireText::RoundTripsUnchanged("a\0b", 3));
    }

    void messagesParseAsTheirTextWould()
    {
        QList<QByteArray> messages = {"{\"getpro\":{\"objname\":\"a\",\"property\":\"b\"}}", "{}", "[1,2]", "",
                                      "\xEF\xBB\xBF", "\xEF\xBB\xBF{\"a\":1}", "{\"a\":\"\xFF\"}", "{\"a\":\"\xED\xA0\x80\"}",
                                      "{\"a\":\"\xEF\xBF\xBE\"}", "{\"a\":\"caf\xC3\xA9\"}", QByteArray("{\"a\":1}\0", 8),
                                      "{\"a\":\"\\ud800\"}", "{\"a\":\"\\u0000\"}", "{\"a\":1e300}", "{\"a\":12345678901234567}"};
        for (const QByteArray &edge : Utf8Edges())
            messages.append("{\"a\":\"" + edge + "\"}");
        for (const QByteArray &message : messages) {
            QVariant byBytes(7), byText(7);
            QCOMPARE(WireText::ParseMessage(message, byBytes), ParseByText(message, byText));
            QCOMPARE(byBytes, byText);
            QCOMPARE(byBytes.userType(), byText.userType());
        }
    }

    void repliesAreTheBytesOfTheirText()
    {
        QVariantList values = {QVariant(), true, false, 0, 7, -1, INT_MAX, INT_MIN, 0.0, -0.0, 1.0, -1.0, 80.0, 0.5,
                               110.359375, 0.1, 1e15, 1e300, -2147483648.0, 2147483648.0, 2147483649.0, 4294967296.0,
                               qInf(), -qInf(), qQNaN(), 3u, qlonglong(1) << 40, qulonglong(5), float(1.5),
                               QString(), QStringLiteral(""), QStringLiteral("uiremote bench"), QStringLiteral("say \"hi\""),
                               QStringLiteral("back\\slash"), QStringLiteral("tab\tnew\nline"), QStringLiteral("caf\u00e9"),
                               QString(QChar(0xD800)), QString(QChar(0)), QStringLiteral("\x7f"), QStringLiteral("~ }{ /"),
                               QStringList{QStringLiteral("a")}, QVariantList{1, 2}, QVariantMap{{QStringLiteral("k"), 1}},
                               QVariant::fromValue(nullptr), QByteArray("bytes"), QColor(Qt::red), QPointF(1, 2),
                               QUrl(QStringLiteral("http://x")), QVariant::fromValue<QObject *>(nullptr)};
        for (int i = -100000; i <= 100000; i += 7)
            values.append(double(i));
        for (int i = 0; i < 64; ++i)
            values.append(std::ldexp(1.0, i) - 1);
        for (const QVariant &value : values) {
            for (const QString &key : {QStringLiteral("value"), QStringLiteral("error"), QStringLiteral("k\u00e9y")}) {
                QVariantMap reply{{QStringLiteral("result"), true}};
                reply.insert(key, value);
                QCOMPARE(WireText::SerializeMessage(reply), SerializeByText(reply));
            }
            QCOMPARE(WireText::SerializeMessage(value), SerializeByText(value));
        }
        QCOMPARE(WireText::SerializeMessage(QVariantMap{{QStringLiteral("result"), false}}),
                 QByteArray("{\n    \"result\": false\n}\n"));
        QCOMPARE(WireText::SerializeMessage(QVariantMap()), SerializeByText(QVariantMap()));
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
