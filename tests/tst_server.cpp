// The testing server through real TCP clients on loopback: framing, the shared queue, ports,
// delays, departed clients, reply bytes. One test drives a real QML window (input_pointer.qml).

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QGuiApplication>
#include <QtTest>

#include <memory>

using namespace TestSupport;

// Search root of the tests: records the order in which controls reach it.
class Target : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString label MEMBER label)
public:
    Target()
    {
        setObjectName(QStringLiteral("root"));
        spaced.setObjectName(QStringLiteral("my obj"));
        spaced.setParent(this);
    }
    Q_INVOKABLE QVariant record(const QVariant &tag)
    {
        tags.append(tag.toString());
        return tags.size() - 1;
    }
    // Runs a nested event loop until release() is called, as long-running controls do.
    Q_INVOKABLE QVariant spin()
    {
        QEventLoop loop;
        connect(this, &Target::released, &loop, &QEventLoop::quit);
        emit spinning();
        loop.exec();
        return QStringLiteral("spun");
    }
    void release() { emit released(); }

    QString label = QStringLiteral("text");
    QStringList tags;
    QObject spaced;

signals:
    void spinning();
    void released();
};

namespace {

QByteArray Record(const char *tag, const char *extra = "")
{
    return QByteArray(R"({"invokeret": {"objname": "root", "method": "record", "mthargs": [")") + tag + "\"]}" +
           extra + "}";
}

std::unique_ptr<ReplyClient> Connected(quint16 port)
{
    auto client = std::make_unique<ReplyClient>();
    client->ConnectTo(port);
    return client;
}

} // namespace

class TestServer : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<Target> root;
    std::unique_ptr<UIRemoteControl> remote;

    std::unique_ptr<ReplyClient> Client()
    {
        auto client = Connected(remote->ServerPort());
        if (!QTest::qWaitFor([&] { return client->IsConnected(); }, 5000))
            qWarning("client did not connect");
        return client;
    }

private slots:
    void init()
    {
        LogRecorder::Clear();
        root = std::make_unique<Target>();
        remote = std::make_unique<UIRemoteControl>(root.get(), nullptr, FreePort(), nullptr);
        QVERIFY(remote->IsListening());
    }
    void cleanup()
    {
        remote.reset();
        root.reset();
    }

    void twoRequestsInOneWriteGiveTwoRepliesInOrder()
    {
        auto client = Client();
        client->Send(Record("first") + Record("second"));
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 2, 5000);
        QCOMPARE(client->replies[0].value("value").toInt(), 0);
        QCOMPARE(client->replies[1].value("value").toInt(), 1);
        QCOMPARE(root->tags, QStringList({"first", "second"}));
    }

    // Of the two controls in one write exactly one finds its item, so the two replies differ and
    // each can be told apart; the item's own record shows which control reached it.
    void clickThenHoverInOneWriteAreAnsweredInThatOrder_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("clickResult");
        QTest::addColumn<bool>("hoverResult");
        QTest::addColumn<QStringList>("recorded");
        QTest::addColumn<QString>("failure");

        QTest::newRow("click found, hover not")
            << QByteArray(R"({"click": {"objname": "target", "winobjname": "pointerWindow"}})"
                          R"({"hover": {"objname": "ghost", "winobjname": "pointerWindow"}})")
            << true << false
            << QStringList{"entered", "pressed 1 1 0 51,26", "released 1 0 0 51,26", "clicked 1 0 0 51,26"}
            << "UIRemoteControl::DoHover, can not find QQuickItem";
        QTest::newRow("hover found, click not")
            << QByteArray(R"({"click": {"objname": "ghost", "winobjname": "pointerWindow"}})"
                          R"({"hover": {"objname": "target", "winobjname": "pointerWindow"}})")
            << false << true << QStringList{"entered"}
            << "UIRemoteControl::DoClick, can not find QQuickItem";
    }
    void clickThenHoverInOneWriteAreAnsweredInThatOrder()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, clickResult);
        QFETCH(bool, hoverResult);
        QFETCH(QStringList, recorded);
        QFETCH(QString, failure);

        Scene scene(QStringLiteral("input_pointer.qml"));
        QVERIFY(scene.window);
        QVERIFY(QTest::qWaitForWindowExposed(scene.window));
        QObject *target = scene.root->findChild<QObject *>(QStringLiteral("target"));
        QVERIFY(target);
        // The pointer starts on an empty spot of the window, away from the target.
        QTest::mouseMove(scene.window, QPoint(390, 290));
        TakeRecorded(target);
        LogRecorder::Clear();
        UIRemoteControl sceneRemote(scene.root, nullptr, FreePort(), nullptr);
        QVERIFY(sceneRemote.IsListening());
        ReplyClient client;
        client.ConnectTo(sceneRemote.ServerPort());
        QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);

        client.Send(bytes);
        QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 2, 5000);
        QCOMPARE(client.replies[0], (QJsonObject{{"result", clickResult}}));
        QCOMPARE(client.replies[1], (QJsonObject{{"result", hoverResult}}));
        QCOMPARE(TakeRecorded(target), recorded);
        QCOMPARE(ErrorLines(), (QStringList{"UIRemoteControl::FindNamedQMLObject, can not find QObject ghost", failure}));
    }

    void whitespaceOutsideStringsDroppedInsideKept()
    {
        auto client = Client();
        client->Send(" \t{\n  \"getpro\" : { \"objname\" : \"my obj\" ,\r\n \"property\": \"objectName\" } }  \n\t  "
                     "{ \"getpro\": {\"objname\": \"root\", \"property\": \"label\"}}\n");
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 2, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", true}, {"value", "my obj"}}));
        QCOMPARE(client->replies[1], (QJsonObject{{"result", true}, {"value", "text"}}));
    }

    void readyReadWithNothingNewIsAnsweredFalse()
    {
        auto client = Client();
        QTRY_COMPARE_WITH_TIMEOUT(remote->findChildren<QTcpSocket *>().size(), 1, 5000);
        QTcpSocket *serverSide = remote->findChildren<QTcpSocket *>().first();
        emit serverSide->readyRead();
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", false}}));
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::ParseMessageAndDoControl, parse message failed"}));
    }

    void clientSocketsSendRepliesWithoutDelay()
    {
        auto client = Client();
        QTRY_COMPARE_WITH_TIMEOUT(remote->findChildren<QTcpSocket *>().size(), 1, 5000);
        QTcpSocket *serverSide = remote->findChildren<QTcpSocket *>().first();
        QCOMPARE(serverSide->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
    }

    void whitespaceOnlyWriteIsAnsweredFalse()
    {
        auto client = Client();
        client->Send(" \n\t ");
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", false}}));
    }

    void nonObjectTopLevelFailsToParse_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("array") << QByteArray("[1, 2]");
        QTest::newRow("scalar") << QByteArray("42");
        QTest::newRow("string") << QByteArray("\"click\"");
        QTest::newRow("malformed") << QByteArray("{\"getpro\": ");
    }
    void nonObjectTopLevelFailsToParse()
    {
        QFETCH(QByteArray, bytes);
        auto client = Client();
        client->Send(bytes);
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", false}}));
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::ParseMessageAndDoControl, parse message failed"}));
    }

    void nulByteFailsTheMessageInsteadOfCuttingIt()
    {
        auto client = Client();
        client->Send(QByteArray(R"({"getpro": {"objname": "root", "property": "label"}})") + '\0' + "junk");
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", false}}));
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::ParseMessageAndDoControl, parse message failed"}));
    }

    void emptyObjectHasNoControlType()
    {
        auto client = Client();
        client->Send("{}");
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", false}}));
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::DoControl, control type is empty"}));
    }

    void messageSplitAcrossTwoWritesBecomesTwoBrokenMessages()
    {
        auto client = Client();
        client->Send("{\"getpro\": {\"objname\": ");
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        client->Send("\"root\", \"property\": \"label\"}}");
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 2, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", false}}));
        QCOMPARE(client->replies[1], (QJsonObject{{"result", false}}));
    }

    void replyWithoutValueHasOnlyResult()
    {
        auto client = Client();
        client->Send(R"({"setpro": {"objname": "root", "property": "label", "propval": "x"}})");
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0].keys(), QStringList({"result"}));
        QCOMPARE(client->replies[0].value("result").toBool(), true);
        QCOMPARE(root->label, QStringLiteral("x"));
    }

    void replyBytesAreIndentedJsonWithoutTerminator()
    {
        QTcpSocket raw;
        raw.connectToHost(QHostAddress::LocalHost, remote->ServerPort());
        QTRY_COMPARE_WITH_TIMEOUT(raw.state(), QAbstractSocket::ConnectedState, 5000);
        QByteArray bytes;
        connect(&raw, &QTcpSocket::readyRead, this, [&] { bytes += raw.readAll(); });
        raw.write(R"({"getpro": {"objname": "root", "property": "label"}})");
        const QByteArray first = "{\n    \"result\": true,\n    \"value\": \"text\"\n}\n";
        QTRY_COMPARE_WITH_TIMEOUT(bytes, first, 5000);
        raw.write("{\"Click\": {}}");
        QTRY_COMPARE_WITH_TIMEOUT(bytes, first + "{\n    \"result\": false\n}\n", 5000);
    }

    void emptyControlTypeIsRejected()
    {
        auto client = Client();
        client->Send(R"({"Click": {"objname": "root"}, "delay": 1})");
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(client->replies[0], (QJsonObject{{"result", false}}));
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::DoControl, control type is empty"}));
    }

    void interleavedClientsKeepArrivalOrder()
    {
        auto a = Client();
        auto b = Client();
        // a's first control waits 200 ms; everything sent meanwhile queues behind it in arrival order.
        a->Send(Record("a1", ", \"delay\": 200"));
        QVERIFY(QTest::qWaitFor([&] { return a->socket.bytesToWrite() == 0; }, 5000));
        b->Send(Record("b1"));
        QVERIFY(QTest::qWaitFor([&] { return b->socket.bytesToWrite() == 0; }, 5000));
        a->Send(Record("a2"));
        b->Send(Record("b2"));
        QTRY_COMPARE_WITH_TIMEOUT(a->replies.size() + b->replies.size(), 4, 5000);
        QCOMPARE(root->tags.first(), QStringLiteral("a1"));
        QCOMPARE(a->replies[0].value("value").toInt(), 0);
        QCOMPARE(a->replies[1].value("value").toInt(), root->tags.indexOf("a2"));
        QCOMPARE(b->replies[0].value("value").toInt(), root->tags.indexOf("b1"));
        QCOMPARE(b->replies[1].value("value").toInt(), root->tags.indexOf("b2"));
        QVERIFY(root->tags.indexOf("a2") < root->tags.indexOf("b2"));
        QVERIFY(root->tags.indexOf("b1") < root->tags.indexOf("b2"));
    }

    void queuedMessageOfDepartedClientIsDroppedWithLog()
    {
        auto a = Client();
        auto b = Client();
        auto c = Client();
        a->Send(Record("a", ", \"delay\": 300"));
        QVERIFY(QTest::qWaitFor([&] { return a->socket.bytesToWrite() == 0; }, 5000));
        b->Send(Record("b"));
        QVERIFY(QTest::qWaitFor([&] { return b->socket.bytesToWrite() == 0; }, 5000));
        // b leaves while its message still waits behind a's delay.
        QTRY_COMPARE_WITH_TIMEOUT(remote->findChildren<QTcpSocket *>().size(), 3, 5000);
        const int sockets = remote->findChildren<QTcpSocket *>().size();
        b->socket.disconnectFromHost();
        QTRY_COMPARE_WITH_TIMEOUT(remote->findChildren<QTcpSocket *>().size(), sockets - 1, 5000);
        c->Send(Record("c"));
        QTRY_COMPARE_WITH_TIMEOUT(c->replies.size(), 1, 5000);
        QCOMPARE(a->replies.size(), 1);
        QCOMPARE(b->replies.size(), 0);
        QCOMPARE(root->tags, QStringList({"a", "c"}));
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::ParseMessageAndDoControl, client socket not found"}));
    }

    void delayedControlFollowedByAnotherRepliesInOrderAfterTheDelay()
    {
        auto client = Client();
        QElapsedTimer clock;
        clock.start();
        qint64 firstAt = -1, secondAt = -1;
        connect(&client->socket, &QTcpSocket::readyRead, this, [&] {
            if (firstAt < 0 && client->replies.size() >= 1)
                firstAt = clock.elapsed();
            if (secondAt < 0 && client->replies.size() >= 2)
                secondAt = clock.elapsed();
        });
        client->Send(Record("delayed", ", \"delay\": 300") + Record("next"));
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 2, 5000);
        QCOMPARE(root->tags, QStringList({"delayed", "next"}));
        QCOMPARE(client->replies[0].value("value").toInt(), 0);
        QCOMPARE(client->replies[1].value("value").toInt(), 1);
        // Delays run on a coarse timer, which may fire up to 5% early.
        QVERIFY2(firstAt >= 280, qPrintable(QString::number(firstAt)));
        QVERIFY(secondAt >= firstAt);
    }

    void strayTopLevelKeyDelaysTheControl()
    {
        auto client = Client();
        QElapsedTimer clock;
        clock.start();
        client->Send(Record("late", ", \"timeout\": 250"));
        QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QVERIFY2(clock.elapsed() >= 235, qPrintable(QString::number(clock.elapsed())));
    }

    void clientLeavingDuringDelayGetsNoReplyAndQueueMovesOn()
    {
        auto a = Client();
        auto b = Client();
        a->Send(Record("a", ", \"delay\": 200"));
        QVERIFY(QTest::qWaitFor([&] { return a->socket.bytesToWrite() == 0; }, 5000));
        QTRY_COMPARE_WITH_TIMEOUT(remote->findChildren<QTcpSocket *>().size(), 2, 5000);
        a->socket.disconnectFromHost();
        b->Send(Record("b"));
        QTRY_COMPARE_WITH_TIMEOUT(b->replies.size(), 1, 5000);
        QCOMPARE(root->tags, QStringList({"b"})); // a's control never ran
        QCOMPARE(a->replies.size(), 0);
        QVERIFY(ErrorLines().isEmpty());
    }

    void clientLeavingDuringNestedEventLoopIsSkippedSafely()
    {
        auto a = Client();
        auto b = Client();
        connect(root.get(), &Target::spinning, this, [&] {
            a->socket.abort();
            // Release the control only once the server side has dropped and deleted a's socket.
            QTimer::singleShot(0, this, [&] {
                if (QTest::qWaitFor([&] { return remote->findChildren<QTcpSocket *>().size() == 1; }, 5000))
                    root->release();
            });
        });
        a->Send(R"({"invokeret": {"objname": "root", "method": "spin"}})");
        QVERIFY(QTest::qWaitFor([&] { return a->socket.bytesToWrite() == 0; }, 5000));
        b->Send(Record("after"));
        QTRY_COMPARE_WITH_TIMEOUT(b->replies.size(), 1, 5000);
        QCOMPARE(root->tags, QStringList({"after"}));
        QCOMPARE(a->replies.size(), 0);
    }

    void manyClientsAllGetTheirReplies()
    {
        std::vector<std::unique_ptr<ReplyClient>> clients;
        for (int i = 0; i < 8; ++i)
            clients.push_back(Client());
        for (int i = 0; i < 8; ++i)
            clients[i]->Send(Record(QByteArray::number(i).constData()));
        for (auto &client : clients)
            QTRY_COMPARE_WITH_TIMEOUT(client->replies.size(), 1, 5000);
        QCOMPARE(root->tags.size(), 8);
    }
};

// Ports outside 1..65535 fall back to the default port; a port in use leaves the object usable.
class TestServerPorts : public QObject {
    Q_OBJECT
private slots:
    void init() { LogRecorder::Clear(); }

    void outOfRangePortsListenOnDefaultPort_data()
    {
        QTest::addColumn<int>("port");
        QTest::newRow("zero") << 0;
        QTest::newRow("70000") << 70000;
        QTest::newRow("negative") << -1;
    }
    void outOfRangePortsListenOnDefaultPort()
    {
        QFETCH(int, port);
        Target root;
        UIRemoteControl remote(&root, nullptr, port, nullptr);
        QVERIFY(remote.IsListening());
        QCOMPARE(int(remote.ServerPort()), UIRemoteControl::DEFAULT_PORT);
        ReplyClient client;
        client.ConnectTo(34541);
        QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);
        client.Send(R"({"getpro": {"objname": "root", "property": "label"}})");
        QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 1, 5000);
        QCOMPARE(client.replies[0], (QJsonObject{{"result", true}, {"value", "text"}}));
    }

    void portInUseLogsStartErrorAndStillServesInProcess()
    {
        QTcpServer squatter;
        QVERIFY(squatter.listen(QHostAddress::Any, 0));
        Target root;
        UIRemoteControl remote(&root, nullptr, squatter.serverPort(), nullptr);
        QVERIFY(!remote.IsListening());
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::UIRemoteControl, start testing server error"}));
        QVariant value;
        QVERIFY(remote.controlObject(QVariantMap{{"getpro", QVariantMap{{"objname", "root"}, {"property", "label"}}}}, value));
        QCOMPARE(value.toString(), QStringLiteral("text"));
    }
};

int main(int argc, char *argv[])
{
    // A GUI application: one test clicks and hovers in a real window.
    QGuiApplication app(argc, argv);
    TestServer server;
    TestServerPorts ports;
    int status = QTest::qExec(&server, argc, argv);
    status |= QTest::qExec(&ports, argc, argv);
    return status;
}
#include "tst_server.moc"
