// More faults a client can provoke, over loopback TCP against a real scene (faults_two.qml):
// scripted methods called without a QML context of the caller, spies holding arguments that
// are destroyed since, spies that never went away, quotes escaped inside strings, and items
// scaled or placed beyond any screen. Each must end in a reply, never in a crash.

#include "Session.h"

#include <QQuickItem>
#include <QtTest>

using namespace Interaction;

namespace {

QJsonObject Value(const QJsonValue &value)
{
    return QJsonObject{{QStringLiteral("result"), true}, {QStringLiteral("value"), value}};
}

} // namespace

class TestFaultsTwo : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Session> m_session;

    bool Start(bool extensions = true)
    {
        m_session = std::make_unique<Session>(QStringLiteral("faults_two.qml"), extensions);
        return m_session->Ready();
    }
    QJsonObject Send(const QString &word, const QVariantMap &args) { return m_session->Send(word, args, 20000); }
    QJsonObject SendRaw(const QByteArray &bytes)
    {
        const int before = m_session->client.replies.size();
        m_session->client.Send(bytes);
        if (!QTest::qWaitFor([&] { return m_session->client.replies.size() > before; }, 20000))
            return QJsonObject{{QStringLiteral("noReply"), true}};
        return m_session->client.replies.at(before);
    }

private slots:
    void cleanup() { m_session.reset(); }

    // Loader.setSource, Component.createObject and StackView.push read their caller's QML
    // context; called from C++ they used to get none, and Qt dereferenced it.
    void loaderSetSourceResolvesAgainstTheLoadersFile()
    {
        QVERIFY(Start());
        QVERIFY(SameReply(Send("invoke", {{"objname", "loader"}, {"method", "setSource"}, {"mthargs", QVariantList{"faults_two_page.qml"}}}), Ok()));
        QTRY_VERIFY(m_session->Get("loader", "source").toUrl().toString().endsWith("/tests/qml/faults_two_page.qml"));
        QTRY_VERIFY(m_session->Object("pushedPage"));
        const QJsonObject reply = Send("getpro", {{"objname", "loader"}, {"method", "setSource"}, {"mthargs", QVariantList{"x.qml"}}, {"property", "x"}});
        QVERIFY2(!reply.contains("noReply"), "the application answered");
        QVERIFY(m_session->Get("loader", "source").toUrl().toString().endsWith("/tests/qml/x.qml"));
    }

    void componentCreateObjectWithProperties()
    {
        QVERIFY(Start());
        const QJsonObject reply = Send("invokeret", {{"objname", "holder.{QQmlComponent}"}, {"method", "createObject"},
                                                     {"mthargs", QVariantList{QVariant::fromValue(nullptr), QVariantMap{{"objectName", "m"}}}}});
        QVERIFY2(reply.value("result").toBool(), QJsonDocument(reply).toJson().constData());
        QCOMPARE(reply.value("value").toObject().value("type").toString(), QStringLiteral("Rectangle"));
    }

    void stackViewPushWithProperties()
    {
        QVERIFY(Start());
        QVERIFY(SameReply(Send("invoke", {{"objname", "stackView"}, {"method", "push"},
                                          {"mthargs", QVariantList{"faults_two_page.qml", QVariantMap{{"opacity", 0.5}}}}}), Ok()));
        QCOMPARE(m_session->Get("stackView", "depth").toInt(), 2);
        QObject *page = m_session->Object("pushedPage");
        QVERIFY(page);
        QCOMPARE(page->property("opacity").toDouble(), 0.5);
    }

    // The spy kept the raw argument of destroyed(QObject*) and read it after it was freed.
    void spiedArgumentDestroyedSinceReadsAsDestroyed()
    {
        QVERIFY(Start());
        QVERIFY(SameReply(Send("spy", {{"objname", "button"}, {"signal", "destroyed(QObject*)"}}), Value(1)));
        QVERIFY(SameReply(Send("spy", {{"objname", "stackView"}, {"signal", "currentItemChanged"}}), Value(2)));
        QVERIFY(SameReply(Send("invoke", {{"objname", "button"}, {"method", "deleteLater"}}), Ok()));
        QTRY_VERIFY(!m_session->Object("button"));
        QVERIFY(SameReply(Send("spycount", {{"id", 1}}),
                          Value(QJsonObject{{"count", 1}, {"args", QJsonArray{QJsonArray{QJsonObject{{"type", "Button"}, {"destroyed", true}}}}}})));
        QVERIFY(SameReply(Send("unspy", {{"id", 1}}), Ok()));
    }

    void unspyDisarms()
    {
        QVERIFY(Start());
        QVERIFY(SameReply(Send("spy", {{"objname", "faultsTwoWindow"}, {"signal", "ticksChanged"}}), Value(1)));
        QVERIFY(SameReply(Send("unspy", {{"id", 1}}), Ok()));
        QVERIFY(SameReply(Send("spycount", {{"id", 1}}), Failed("no spy has the id 1")));
        QVERIFY(SameReply(Send("unspy", {{"id", 1}}), Failed("no spy has the id 1")));
        QVERIFY(SameReply(Send("waitspy", {{"id", 1}}), Failed("no spy has the id 1")));
    }

    void spiesGoWithTheConnectionThatArmedThem()
    {
        QVERIFY(Start());
        TestSupport::ReplyClient other;
        other.ConnectTo(m_session->remote->ServerPort());
        QTRY_VERIFY(other.IsConnected());
        other.Send(R"({"spy": {"objname": "faultsTwoWindow", "signal": "ticksChanged"}})");
        QTRY_COMPARE(other.replies.size(), 1);
        QCOMPARE(other.replies.at(0), Value(1));
        QVERIFY(SameReply(Send("spy", {{"objname", "faultsTwoWindow"}, {"signal", "ticksChanged"}}), Value(2)));
        QVERIFY(SameReply(Send("spycount", {{"id", 1}}), Value(QJsonObject{{"count", 0}, {"args", QJsonArray{}}})));
        other.socket.disconnectFromHost();
        QTRY_VERIFY(SameReply(Send("spycount", {{"id", 1}}), Failed("no spy has the id 1")));
        QVERIFY(SameReply(Send("spycount", {{"id", 2}}), Value(QJsonObject{{"count", 0}, {"args", QJsonArray{}}})));
    }

    void spyKeepsTheNewestEmissions()
    {
        QVERIFY(Start());
        QVERIFY(SameReply(Send("spy", {{"objname", "faultsTwoWindow"}, {"signal", "ticksChanged"}}), Value(1)));
        QVERIFY(SameReply(Send("invoke", {{"objname", "faultsTwoWindow"}, {"method", "tick"}, {"mthargs", QVariantList{1005}}}), Ok()));
        const QJsonObject reply = Send("spycount", {{"id", 1}});
        const QJsonObject value = reply.value("value").toObject();
        QCOMPARE(value.value("count").toInt(), 1005);
        QCOMPARE(value.value("args").toArray().size(), 1000);
        QCOMPARE(value.value("dropped").toInt(), 5);
    }

    // In extension mode the framing understands escapes; outside it, it stays as it was.
    void escapedQuotesInExtensionMode()
    {
        QVERIFY(Start());
        QVERIFY(SameReply(SendRaw(R"({"setpro": {"objname": "field", "property": "text", "propval": "say \"hello world\""}})"), Ok()));
        QCOMPARE(m_session->Get("field", "text").toString(), QStringLiteral("say \"hello world\""));
        QVERIFY(SameReply(SendRaw(R"({"setpro": {"objname": "field", "property": "text", "propval": "a\"}{\"b"}})"), Ok()));
        QCOMPARE(m_session->Get("field", "text").toString(), QStringLiteral("a\"}{\"b"));
        QCOMPARE(m_session->client.replies.size(), 2);
    }

    void escapedQuotesOutsideExtensionModeFrameAsBefore()
    {
        QVERIFY(Start(false));
        QVERIFY(SameReply(SendRaw(R"({"setpro": {"objname": "field", "property": "text", "propval": "say \"hello world\""}})"),
                          QJsonObject{{"result", true}}));
        QCOMPARE(m_session->Get("field", "text").toString(), QStringLiteral("say \"helloworld\""));
        QVERIFY(SameReply(SendRaw(R"({"setpro": {"objname": "field", "property": "text", "propval": "say \u0022hello world\u0022"}})"),
                          QJsonObject{{"result", true}}));
        QCOMPARE(m_session->Get("field", "text").toString(), QStringLiteral("say \"hello world\""));
    }

    // Coordinates no integer holds: refused before they are made whole pixels.
    void swipeOnAnItemScaledBeyondAnyScreen()
    {
        QVERIFY(Start());
        QVERIFY(SameReply(Send("swipe", {{"objname", "huge"}, {"from", "center"}, {"to", "right"}}),
                          Failed("the swipe on huge is outside the window")));
        QVERIFY(SameReply(Send("wheel", {{"objname", "huge"}, {"x", 9}, {"y", 9}, {"dy", 15}}), Failed("huge is outside the window")));
    }

    void screenshotOfAnItemFarAway()
    {
        QVERIFY(Start());
        QVERIFY(SameReply(Send("screenshot", {{"objname", "farAway"}}), Failed("farAway is outside the window")));
        QCOMPARE(Send("screenshot", {{"objname", "field"}}).value("result").toBool(), true);
    }
};

QTEST_MAIN(TestFaultsTwo)
#include "tst_faults_two.moc"
