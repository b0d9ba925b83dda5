// Signal spies ("spy", "spycount", "waitspy") and the waits that do not poll ("waitprop",
// "waitidle"): what they answer, their time-outs, objects destroyed while they wait, and the
// queue they hold.

#include "Session.h"

using Interaction::Failed;
using Interaction::Ok;
using Interaction::SameReply;
using Interaction::Session;

namespace {

QJsonObject Value(const QJsonValue &value) { return {{"result", true}, {"value", value}}; }

void Start(Session &session, const char *timer) { QMetaObject::invokeMethod(session.Object(timer), "start"); }

} // namespace

class TestSpiesWaits : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_session = std::make_unique<Session>(QStringLiteral("waits.qml"));
        QVERIFY(m_session->Ready());
        QVERIFY(QTest::qWaitForWindowExposed(m_session->scene.window));
    }
    void cleanup() { m_session.reset(); }

    void spyCountsEmissionsWithTheirArguments()
    {
        QVERIFY(SameReply(m_session->Send("spy", {{"objname", "emitter"}, {"signal", "pinged"}}), Value(1)));
        QVERIFY(SameReply(m_session->Send("spy", {{"objname", "emitter"}, {"signal", "pinged(int, QString)"}}), Value(2)));
        QObject *emitter = m_session->Object("emitter");
        QMetaObject::invokeMethod(emitter, "ping", Q_ARG(QVariant, 1), Q_ARG(QVariant, "a"));
        QMetaObject::invokeMethod(emitter, "ping", Q_ARG(QVariant, 2), Q_ARG(QVariant, "b"));
        const QJsonObject counted = Value(QJsonObject{{"count", 2}, {"args", QJsonArray{QJsonArray{1, "a"}, QJsonArray{2, "b"}}}});
        QVERIFY(SameReply(m_session->Send("spycount", {{"id", 1}}), counted));
        QVERIFY(SameReply(m_session->Send("spycount", {{"id", 2}}), counted));
        // Emissions before the wait count: it answers at once.
        QVERIFY(SameReply(m_session->Send("waitspy", {{"id", 1}, {"count", 2}, {"timeout", 60000}}), Value(2)));
    }

    void spyArmedBeforeAClickConfirmsIt()
    {
        QVERIFY(SameReply(m_session->Send("spy", {{"objname", "button"}, {"signal", "clicked()"}}), Value(1)));
        QVERIFY(SameReply(m_session->Send("click", {{"objname", "button"}, {"winobjname", "waitWindow"}, {"actionable", true}}), Ok()));
        QVERIFY(SameReply(m_session->Send("waitspy", {{"id", 1}, {"timeout", 60000}}), Value(1)));
    }

    void waitspyWaitsForLaterEmissions()
    {
        QVERIFY(SameReply(m_session->Send("spy", {{"objname", "emitter"}, {"signal", "pinged"}}), Value(1)));
        Start(*m_session, "pingTimer");
        QVERIFY(SameReply(m_session->Send("waitspy", {{"id", 1}, {"count", 3}, {"timeout", 60000}}), Value(3)));
    }

    void spyFailures_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<QVariantMap>("args");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no object") << "spy" << QVariantMap{{"objname", "nothing"}, {"signal", "pinged"}}
                                   << "no object matches nothing";
        QTest::newRow("no signal") << "spy" << QVariantMap{{"objname", "emitter"}, {"signal", "nope()"}}
                                   << "the object has no signal \"nope()\"";
        QTest::newRow("a property is no signal") << "spy" << QVariantMap{{"objname", "emitter"}, {"signal", "width"}}
                                                 << "the object has no signal \"width\"";
        QTest::newRow("count of no spy") << "spycount" << QVariantMap{{"id", 5}} << "no spy has the id 5";
        QTest::newRow("wait for no spy") << "waitspy" << QVariantMap{} << "no spy has the id ";
    }
    void spyFailures()
    {
        QFETCH(QString, word);
        QFETCH(QVariantMap, args);
        QFETCH(QString, reason);
        QVERIFY(SameReply(m_session->Send(word, args), Failed(reason)));
    }

    void waitspyTimesOut()
    {
        QVERIFY(SameReply(m_session->Send("spy", {{"objname", "emitter"}, {"signal", "bare"}}), Value(1)));
        QVERIFY(SameReply(m_session->Send("waitspy", {{"id", 1}, {"timeout", 200}}),
                          Failed("the spy saw 0 of 1 emissions within 200 ms")));
    }

    void waitspyEndsWhenTheSpiedObjectIsDestroyed()
    {
        QVERIFY(SameReply(m_session->Send("spy", {{"objname", "doomed"}, {"signal", "pinged"}}), Value(1)));
        Start(*m_session, "doomTimer");
        // Far within its time-out: the wait ends with the object.
        QVERIFY(SameReply(m_session->Send("waitspy", {{"id", 1}, {"timeout", 600000}}, 60000),
                          Failed("the spied object was destroyed after 0 of 1 emissions")));
        QVERIFY(SameReply(m_session->Send("spycount", {{"id", 1}}), Value(QJsonObject{{"count", 0}, {"args", QJsonArray{}}})));
        QVERIFY(SameReply(m_session->Send("waitspy", {{"id", 1}, {"timeout", 600000}}, 60000),
                          Failed("the spied object was destroyed after 0 of 1 emissions")));
    }

    void waitpropAnswersAtOnceWhenTheValueHolds()
    {
        QVERIFY(SameReply(m_session->Send("waitprop", {{"objname", "box"}, {"property", "level"}, {"value", 0}, {"timeout", 600000}}, 60000),
                          Value(0)));
        QVERIFY(SameReply(m_session->Send("waitprop", {{"objname", "box"}, {"property", "label"}, {"value", "start"}}), Value("start")));
    }

    void waitpropWaitsForTheChange()
    {
        Start(*m_session, "levelTimer");
        QVERIFY(SameReply(m_session->Send("waitprop", {{"objname", "box"}, {"property", "level"}, {"value", 7}, {"timeout", 60000}}),
                          Value(7)));
        QCOMPARE(m_session->Get("box", "label").toString(), QStringLiteral("done"));
    }

    void waitpropTimesOut()
    {
        QVERIFY(SameReply(m_session->Send("waitprop", {{"objname", "box"}, {"property", "level"}, {"value", 9}, {"timeout", 200}}),
                          Failed("\"level\" was 0, not 9, after 200 ms")));
    }

    void waitpropEndsWhenTheObjectIsDestroyed()
    {
        Start(*m_session, "doomTimer");
        QVERIFY(SameReply(m_session->Send("waitprop", {{"objname", "doomed"}, {"property", "level"}, {"value", 1}, {"timeout", 600000}}, 60000),
                          Failed("the object was destroyed while waiting for \"level\"")));
    }

    void waitpropFailures()
    {
        QVERIFY(SameReply(m_session->Send("waitprop", {{"objname", "box"}, {"property", "nope"}, {"value", 1}}),
                          Failed("the object has no property \"nope\"")));
        QVERIFY(SameReply(m_session->Send("waitprop", {{"objname", "box"}, {"property", "level"}}),
                          Failed("waitprop needs the \"value\" to wait for")));
        QVERIFY(SameReply(m_session->Send("waitprop", {{"objname", "nothing"}, {"property", "level"}, {"value", 1}}),
                          Failed("no object matches nothing")));
    }

    void waitHoldsTheQueueForOtherClients()
    {
        TestSupport::ReplyClient other;
        other.ConnectTo(m_session->remote->ServerPort());
        QTRY_VERIFY(other.IsConnected());
        Start(*m_session, "levelTimer");
        m_session->client.Send(R"({"waitprop":{"objname":"box","property":"level","value":7,"timeout":60000}})");
        QTRY_VERIFY(m_session->client.socket.bytesToWrite() == 0);
        other.Send(R"({"getpro":{"objname":"box","property":"level"}})");
        QTRY_COMPARE_WITH_TIMEOUT(other.replies.size(), 1, 60000);
        QCOMPARE(other.replies.first(), Value(7));
        QTRY_COMPARE(m_session->client.replies.size(), 1);
    }

    void waitidleWaitsForAnAnimationToEnd()
    {
        m_session->Set("slide", "running", true);
        QVERIFY(m_session->Get("box", "x").toReal() < 100);
        QVERIFY(SameReply(m_session->Send("waitidle", {{"winobjname", "waitWindow"}, {"timeout", 60000}}), Ok()));
        QCOMPARE(m_session->Get("box", "x").toReal(), 100.0);
        QCOMPARE(m_session->Get("slide", "running").toBool(), false);
    }

    void waitidleFailures()
    {
        m_session->Set("endless", "running", true);
        QVERIFY(SameReply(m_session->Send("waitidle", {{"timeout", 300}}), Failed("still moving after 300 ms: endless")));
        QVERIFY(SameReply(m_session->Send("waitidle", {{"winobjname", "hiddenWindow"}}),
                          Failed("the window hiddenWindow is not exposed: it renders no frames")));
        QVERIFY(SameReply(m_session->Send("waitidle", {{"winobjname", "nope"}}), Failed("no window is named \"nope\"")));
    }

    void outsideExtensionModeTheWordsAreUnknown()
    {
        m_session.reset();
        Session plain(QStringLiteral("waits.qml"), false);
        QVERIFY(plain.Ready());
        const QJsonObject refused{{"result", false}};
        for (const char *word : {"spy", "spycount", "waitspy", "waitprop", "waitidle", "wheel", "swipe"})
            QVERIFY(SameReply(plain.Send(word, {{"objname", "box"}}), refused));
    }

private:
    std::unique_ptr<Session> m_session;
};

QTEST_MAIN(TestSpiesWaits)
#include "tst_spies_waits.moc"
