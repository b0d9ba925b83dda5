// Who may reach the testing server: the listen address from UIREMOTE_LISTEN and the shared token
// from UIREMOTE_TOKEN, through real TCP clients on loopback.

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QtTest>

#include <memory>

using namespace TestSupport;

// Search root of the tests: counts the controls that reach it.
class Counter : public QObject {
    Q_OBJECT
public:
    Counter() { setObjectName(QStringLiteral("root")); }
    Q_INVOKABLE QVariant bump() { return ++calls; }
    int calls = 0;
};

namespace {

const QByteArray kBump = R"({"invokeret": {"objname": "root", "method": "bump"}})";
const QByteArray kAuth = R"({"auth": {"token": "s3cret"}})";
const char kRejected[] = "UIRemoteControl::Authenticate, client not authenticated: connection closed";

// Sets an environment variable for the life of the object.
struct ScopedEnv {
    ScopedEnv(const char *name, const QByteArray &value) : name(name) { qputenv(name, value); }
    ~ScopedEnv() { qunsetenv(name); }
    const char *name;
};

} // namespace

class TestAccess : public QObject {
    Q_OBJECT
private:
    Counter root;
    std::unique_ptr<UIRemoteControl> remote;

    std::unique_ptr<ReplyClient> Connected()
    {
        auto client = std::make_unique<ReplyClient>();
        client->ConnectTo(remote->ServerPort());
        if (!QTest::qWaitFor([&] { return client->IsConnected(); }, 5000))
            qWarning("client did not connect");
        return client;
    }

    void StartWithToken()
    {
        ScopedEnv token("UIREMOTE_TOKEN", "s3cret");
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
    }

    static bool Closed(ReplyClient &client)
    {
        return QTest::qWaitFor([&] { return client.socket.state() == QAbstractSocket::UnconnectedState; }, 5000);
    }

private slots:
    void init()
    {
        LogRecorder::Clear();
        root.calls = 0;
    }
    void cleanup() { remote.reset(); }

    void listensOnAnyAddressByDefault()
    {
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
        QVERIFY(remote->IsListening());
        QCOMPARE(remote->findChild<QTcpServer *>()->serverAddress(), QHostAddress(QHostAddress::Any));
    }

    void listenAddressFromTheEnvironment()
    {
        ScopedEnv listen("UIREMOTE_LISTEN", "127.0.0.1");
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
        QVERIFY(remote->IsListening());
        QCOMPARE(remote->findChild<QTcpServer *>()->serverAddress(), QHostAddress(QHostAddress::LocalHost));
        auto client = Connected();
        client->Send(kBump);
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", true}, {"value", 1}}));
    }

    void localhostMeansTheLoopbackAddress()
    {
        ScopedEnv listen("UIREMOTE_LISTEN", "localhost");
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
        QCOMPARE(remote->findChild<QTcpServer *>()->serverAddress(), QHostAddress(QHostAddress::LocalHost));
    }

    void listenAddressNotUnderstoodOpensNothing()
    {
        ScopedEnv listen("UIREMOTE_LISTEN", "not-an-address");
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
        QVERIFY(!remote->IsListening());
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::ListenAddress, listen address not understood: not-an-address",
                                            "UIRemoteControl::UIRemoteControl, start testing server error"}));
    }

    void blankListenAddressOpensNothing_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::newRow("space") << QByteArray(" ");
        QTest::newRow("tab") << QByteArray("\t");
        QTest::newRow("empty") << QByteArray("");
    }
    void blankListenAddressOpensNothing()
    {
        QFETCH(QByteArray, value);
        ScopedEnv listen("UIREMOTE_LISTEN", value);
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
        QVERIFY(!remote->IsListening());
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::ListenAddress, listen address is blank",
                                            "UIRemoteControl::UIRemoteControl, start testing server error"}));
    }

    void tokenBytesThatAreNotUtf8AreComparedAsBytes()
    {
        ScopedEnv token("UIREMOTE_TOKEN", "\xff\xfe\xfd\xfc\xfb");
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
        auto other = Connected(); // other stray bytes read alike as UTF-8, not as bytes
        other->Send("{\"auth\": {\"token\": \"\x80\x81\x82\x83\x84\"}}");
        QVERIFY(Closed(*other));
        QCOMPARE(root.calls, 0);
        auto right = Connected();
        right->Send("{\"auth\": {\"token\": \"\xff\xfe\xfd\xfc\xfb\"}}" + kBump);
        QTRY_COMPARE_WITH_TIMEOUT(right->replies.size(), 2, 5000);
        QCOMPARE(right->replies[1], (QJsonObject{{"result", true}, {"value", 1}}));
    }

    void rightTokenIsAnsweredTrueThenControlsRun()
    {
        StartWithToken();
        auto client = Connected();
        client->Send(kAuth);
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", true}}));
        client->Send(kBump);
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 2, 5000);
        QCOMPARE(client->replies[1], (QJsonObject{{"result", true}, {"value", 1}}));
        QCOMPARE(ErrorLines(), QStringList());
    }

    void tokenAndControlInOneWriteAreBothAnswered()
    {
        StartWithToken();
        auto client = Connected();
        client->Send(kAuth + kBump);
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 2, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", true}}));
        QCOMPARE(client->replies[1], (QJsonObject{{"result", true}, {"value", 1}}));
    }

    void wrongTokenClosesTheConnectionWithNothingRun()
    {
        StartWithToken();
        auto client = Connected();
        client->Send(R"({"auth": {"token": "guess"}})" + kBump);
        QVERIFY(Closed(*client));
        QCOMPARE(client->replies.size(), 0);
        QCOMPARE(root.calls, 0);
        QCOMPARE(ErrorLines(), QStringList({kRejected}));
    }

    void controlAsFirstMessageClosesTheConnection()
    {
        StartWithToken();
        auto client = Connected();
        client->Send(kBump);
        QVERIFY(Closed(*client));
        QCOMPARE(client->replies.size(), 0);
        QCOMPARE(root.calls, 0);
        QCOMPARE(ErrorLines(), QStringList({kRejected}));
    }

    void authWithAnotherKeyBesideItIsRefused()
    {
        StartWithToken();
        auto client = Connected();
        client->Send(R"({"auth": {"token": "s3cret"}, "delay": 5})");
        QVERIFY(Closed(*client));
        QCOMPARE(ErrorLines(), QStringList({kRejected}));
    }

    void tokenOfANumberIsRefused()
    {
        ScopedEnv token("UIREMOTE_TOKEN", "123");
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
        auto client = Connected();
        client->Send(R"({"auth": {"token": 123}})");
        QVERIFY(Closed(*client));
    }

    void otherClientsAreNotDisturbedByARejectedOne()
    {
        StartWithToken();
        auto good = Connected();
        good->Send(kAuth);
        QTRY_COMPARE_WITH_TIMEOUT(good->replies.size(), 1, 5000);
        auto bad = Connected();
        bad->Send(kBump);
        QVERIFY(Closed(*bad));
        good->Send(kBump);
        QTRY_COMPARE_WITH_TIMEOUT(good->replies.size(), 2, 5000);
        QCOMPARE(good->replies[1], (QJsonObject{{"result", true}, {"value", 1}}));
    }

    void withoutTokenAnAuthMessageIsAnOrdinaryFailure()
    {
        remote = std::make_unique<UIRemoteControl>(&root, nullptr, FreePort(), nullptr);
        auto client = Connected();
        client->Send(kAuth);
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", false}}));
        QVERIFY(client->IsConnected());
    }
};

QTEST_GUILESS_MAIN(TestAccess)
#include "tst_access.moc"
