// Faults that an ordinary UI test or a careless client can provoke, over loopback TCP against a
// real QML scene (faults.qml): items and windows destroyed by the very events an action sends,
// values nested too deeply to convert, a client that never reads its replies, and URL properties
// pointed at places the application should not load from. Each must end in a false reply and one
// log line (or a plain success where the action was complete), never in a crash.

#include "Session.h"

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QtTest>

using Interaction::Session;
using TestSupport::ErrorLines;

namespace {

const char *const kWindow = "faultWindow";

QByteArray Nested(int depth, const char *open, const char *inner, const char *close)
{
    QByteArray text;
    text.reserve(depth * 8 + 8);
    for (int i = 0; i < depth; ++i)
        text += open;
    text += inner;
    for (int i = 0; i < depth; ++i)
        text += close;
    return text;
}

QVariant NestedVariant(int depth)
{
    QVariant value = 0;
    for (int i = 0; i < depth; ++i)
        value = QVariantList{value};
    return value;
}

} // namespace

class TestFaults : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Session> m_session;

    bool Start(bool extensions = true)
    {
        m_session = std::make_unique<Session>(QStringLiteral("faults.qml"), extensions);
        if (!m_session->Ready() || !QTest::qWaitForWindowExposed(m_session->scene.window))
            return false;
        LogRecorder::Clear();
        return true;
    }
    bool Call(const char *function, const QVariant &argument = QVariant())
    {
        QVariant returned;
        return QMetaObject::invokeMethod(m_session->scene.root, function, Q_RETURN_ARG(QVariant, returned),
                                         Q_ARG(QVariant, argument)) &&
               returned.toBool();
    }
    QWindow *DoomedWindow() const
    {
        for (QWindow *window : QGuiApplication::topLevelWindows()) {
            if (window->objectName() == QLatin1String("doomedWindow"))
                return window;
        }
        return nullptr;
    }
    // Spawns the window that destroys itself on a key, focused; null when it did not come up.
    QPointer<QWindow> ActiveKeyDoomedWindow()
    {
        if (!Call("spawnWindow", "key"))
            return nullptr;
        QPointer<QWindow> doomed = DoomedWindow();
        if (!doomed)
            return nullptr;
        doomed->requestActivate();
        return QTest::qWaitForWindowActive(doomed) ? doomed : nullptr;
    }
    // The reply to a value nested too deeply: false, with the reason in extension mode.
    static QJsonObject TooDeep(bool extensions)
    {
        QJsonObject expected{{"result", false}};
        if (extensions)
            expected.insert("error", "the value is nested deeper than 256 levels");
        return expected;
    }
    // The application still answers, with the value it had before.
    bool StillAnswers()
    {
        return m_session->Send(QStringLiteral("getpro"), {{"objname", kWindow}, {"property", "label"}}) ==
               QJsonObject{{"result", true}, {"value", "plain"}};
    }

private slots:
    void init() { QVERIFY(Start()); }
    void cleanup()
    {
        // Actions that end with a button held (press, drag) leave it to the next one otherwise.
        if (m_session && m_session->scene.window && QGuiApplication::mouseButtons() != Qt::NoButton)
            QTest::mouseRelease(m_session->scene.window, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        m_session.reset();
        if (QWindow *doomed = DoomedWindow())
            delete doomed;
    }

    // An item whose handler destroys it on one of the events an action sends. When the item is
    // gone before the action's last event, the rest is not sent and the action fails; when the
    // last event destroyed it, the action was complete.
    void itemDestroyedByTheAction_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<QString>("destroyOn");
        QTest::addColumn<QVariantMap>("extra");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("function");

        const QVariantMap none;
        QTest::newRow("drag, press destroys") << "drag" << "press" << none << false << "UIRemoteControl::DoDrag";
        QTest::newRow("drag from to, press destroys")
            << "drag" << "press" << QVariantMap{{"from_x", 10}, {"from_y", 10}, {"to_x", 90}, {"to_y", 70}} << false
            << "UIRemoteControl::DoDrag";
        QTest::newRow("drag, move destroys") << "drag" << "move" << QVariantMap{{"x", 30}, {"y", 30}} << true << "";
        QTest::newRow("click, press destroys") << "click" << "press" << none << true << "";
        QTest::newRow("click, release destroys") << "click" << "release" << none << true << "";
        QTest::newRow("dbclick, press destroys") << "dbclick" << "press" << none << true << "";
        QTest::newRow("press, press destroys") << "press" << "press" << none << true << "";
        QTest::newRow("hover, press destroys") << "hover" << "press" << none << true << "";
        // A move to where the pointer already is sends nothing: this one goes elsewhere.
        QTest::newRow("hover, enter destroys") << "hover" << "enter" << QVariantMap{{"x", 17}, {"y", 23}} << true << "";
        QTest::newRow("drop, press destroys") << "drop" << "press" << none << true << "";
        // A release reaches the mouse area that took the press: the test presses first.
        QTest::newRow("drop, release destroys") << "drop" << "release" << QVariantMap{{"pressFirst", true}} << true << "";
        QTest::newRow("swipe, press destroys")
            << "swipe" << "press" << QVariantMap{{"from", "left"}, {"to", "right"}, {"steps", 4}, {"duration", 0}}
            << false << "UIRemoteControl::DoSwipe";
        QTest::newRow("wheel, first notch destroys")
            << "wheel" << "wheel" << QVariantMap{{"dy", 45}} << false << "UIRemoteControl::DoWheel";
    }
    void itemDestroyedByTheAction()
    {
        QFETCH(QString, word);
        QFETCH(QString, destroyOn);
        QFETCH(QVariantMap, extra);
        QFETCH(bool, result);
        QFETCH(QString, function);

        QVERIFY(Call("spawn", destroyOn));
        QPointer<QObject> victim = m_session->Object(QStringLiteral("victim"));
        QVERIFY(victim);
        QVariantMap args{{"objname", "victim"}, {"winobjname", kWindow}};
        for (auto it = extra.constBegin(); it != extra.constEnd(); ++it)
            args.insert(it.key(), it.value());
        if (args.take(QStringLiteral("pressFirst")).toBool())
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("press"), args), Interaction::Ok()));

        const QJsonObject reply = m_session->Send(word, args, 20000);
        QJsonObject expected{{"result", result}};
        if (!result)
            expected.insert("error", "the item victim was destroyed during the action");
        QVERIFY(Interaction::SameReply(reply, expected));
        // hover and drop send no press: their item survives a handler that destroys it on press.
        const bool pressless = (word == QLatin1String("hover") || word == QLatin1String("drop")) &&
                               destroyOn == QLatin1String("press");
        if (pressless)
            QVERIFY(victim);
        else
            QTRY_VERIFY_WITH_TIMEOUT(!victim, 5000);
        QCOMPARE(ErrorLines(), result ? QStringList() : QStringList{function + ", the item was destroyed during the action"});
        if (!result)
            QCOMPARE(QGuiApplication::mouseButtons(), Qt::NoButton); // nothing stays held
        QVERIFY(StillAnswers());
    }

    // A press that destroys the window of the item it reaches.
    void windowDestroyedByAPress_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<bool>("result");
        QTest::newRow("drag") << "drag" << false;
        QTest::newRow("click") << "click" << true;
        QTest::newRow("dbclick") << "dbclick" << true;
        QTest::newRow("press") << "press" << true;
    }
    void windowDestroyedByAPress()
    {
        QFETCH(QString, word);
        QFETCH(bool, result);
        QVERIFY(Call("spawnWindow", "press"));
        QPointer<QWindow> doomed = DoomedWindow();
        QVERIFY(doomed);
        QVERIFY(QTest::qWaitForWindowExposed(doomed));

        const QJsonObject reply =
            m_session->Send(word, {{"objname", "doomedItem"}, {"winobjname", "doomedWindow"}}, 20000);
        QJsonObject expected{{"result", result}};
        if (!result)
            expected.insert("error", "the window was destroyed during the action");
        QVERIFY(Interaction::SameReply(reply, expected));
        QTRY_VERIFY_WITH_TIMEOUT(!doomed, 5000);
        QCOMPARE(ErrorLines(), result ? QStringList()
                                      : QStringList{QStringLiteral("UIRemoteControl::DoDrag, the window was destroyed during the action")});
        QVERIFY(StillAnswers());
    }

    // A key handler that destroys its window (a dialog closed by Escape): the release, and the
    // modifier releases, are not sent to the destroyed window.
    void windowDestroyedByAKey_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::newRow("no modifier") << 0;
        QTest::newRow("shift and control") << int(Qt::ShiftModifier | Qt::ControlModifier);
    }
    void windowDestroyedByAKey()
    {
        QFETCH(int, modifiers);
        QPointer<QWindow> doomed = ActiveKeyDoomedWindow();
        QVERIFY(doomed);

        const QJsonObject reply = m_session->Send(
            QStringLiteral("keyclick"),
            {{"winobjname", "doomedWindow"}, {"key", int(Qt::Key_Escape)}, {"keyboardModifier", modifiers}}, 20000);
        QVERIFY(Interaction::SameReply(
            reply, QJsonObject{{"result", false}, {"error", "the window was destroyed during the action"}}));
        QTRY_VERIFY_WITH_TIMEOUT(!doomed, 5000);
        QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoKeyClick, the window was destroyed during the action")});
        QVERIFY(StillAnswers());
    }

    void windowDestroyedWhileTyping()
    {
        QPointer<QWindow> doomed = ActiveKeyDoomedWindow();
        QVERIFY(doomed);

        const QJsonObject reply =
            m_session->Send(QStringLiteral("typetext"), {{"winobjname", "doomedWindow"}, {"text", "abc"}}, 20000);
        QVERIFY(Interaction::SameReply(
            reply, QJsonObject{{"result", false}, {"error", "the window was destroyed while typing"}}));
        QTRY_VERIFY_WITH_TIMEOUT(!doomed, 5000);
        QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoTypeText, the window was destroyed during the action")});
        QVERIFY(StillAnswers());
    }

    // Outside extension mode the reply is the plain false of the twenty controls.
    void destroyedItemOutsideExtensionMode()
    {
        QVERIFY(Start(false));
        QVERIFY(Call("spawn", "press"));
        const QJsonObject reply = m_session->Send(QStringLiteral("drag"), {{"objname", "victim"}, {"winobjname", kWindow}}, 20000);
        QVERIFY(Interaction::SameReply(reply, QJsonObject{{"result", false}}));
        QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoDrag, the item was destroyed during the action")});
        QVERIFY(StillAnswers());
    }

    // A QML function returning a value nested far too deeply: refused before it is converted,
    // in both modes, instead of overflowing the stack (20,000 levels) or spending seconds on
    // indentation. 256 levels is the deepest value a reply holds.
    void deepReturnValue_data()
    {
        QTest::addColumn<bool>("extensions");
        QTest::addColumn<QString>("method");
        QTest::addColumn<int>("depth");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("function");
        for (const bool extensions : {false, true}) {
            const char *mode = extensions ? "extension mode" : "plain";
            const QString function = extensions ? "UIRemoteControl::DoInvokeRetMethod" : "UIRemoteControl::Action";
            QTest::addRow("%s, array 20000", mode) << extensions << "deepArray" << 20000 << false << function;
            QTest::addRow("%s, object 20000", mode) << extensions << "deepObject" << 20000 << false << function;
            QTest::addRow("%s, array 257", mode) << extensions << "deepArray" << 257 << false << function;
            QTest::addRow("%s, array 256", mode) << extensions << "deepArray" << 256 << true << QString();
        }
    }
    void deepReturnValue()
    {
        QFETCH(bool, extensions);
        QFETCH(QString, method);
        QFETCH(int, depth);
        QFETCH(bool, result);
        QFETCH(QString, function);
        QVERIFY(Start(extensions));
        const QJsonObject reply = m_session->Send(
            QStringLiteral("invokeret"), {{"objname", kWindow}, {"method", method}, {"mthargs", QVariantList{depth}}}, 60000);
        QCOMPARE(reply.value("result").toBool(), result);
        if (result) {
            QJsonValue value = reply.value("value");
            int levels = 0;
            while (value.isArray()) {
                value = value.toArray().at(0);
                ++levels;
            }
            QCOMPARE(levels, depth);
            QCOMPARE(ErrorLines(), QStringList());
        } else {
            QVERIFY(Interaction::SameReply(reply, TooDeep(extensions)));
            QCOMPARE(ErrorLines(), QStringList{function + ", value nested deeper than 256 levels"});
        }
        QVERIFY(StillAnswers());
    }

    // A property holding a value that deep (built by the application itself) is refused on read.
    void deepPropertyValue_data()
    {
        QTest::addColumn<bool>("extensions");
        QTest::addColumn<QString>("function");
        QTest::newRow("plain") << false << "UIRemoteControl::Action";
        QTest::newRow("extension mode") << true << "UIRemoteControl::DoGetProperty";
    }
    void deepPropertyValue()
    {
        QFETCH(bool, extensions);
        QFETCH(QString, function);
        QVERIFY(Start(extensions));
        QVERIFY(Call("fill", 20000));
        LogRecorder::Clear();
        const QJsonObject reply = m_session->Send(QStringLiteral("getpro"), {{"objname", kWindow}, {"property", "held"}}, 60000);
        QVERIFY(Interaction::SameReply(reply, TooDeep(extensions)));
        QCOMPARE(ErrorLines(), QStringList{function + ", value nested deeper than 256 levels"});
        QVERIFY(StillAnswers());
    }

    // Values to write are checked before they are converted: over the wire (JSON itself stops
    // at 1024 levels) and in process (controlObject, as the host plugin calls it).
    void deepValueToWrite_data()
    {
        QTest::addColumn<bool>("extensions");
        QTest::newRow("plain") << false;
        QTest::newRow("extension mode") << true;
    }
    void deepValueToWrite()
    {
        QFETCH(bool, extensions);
        QVERIFY(Start(extensions));
        const QByteArray prefix = R"({"setpro":{"objname":"faultWindow","property":"held","propval":)";
        const QString line = QStringLiteral("UIRemoteControl::DoSetProperty, value nested deeper than 256 levels");

        m_session->client.Send(prefix + Nested(1000, "[", "0", "]") + "}}");
        QTRY_COMPARE_WITH_TIMEOUT(m_session->client.replies.size(), 1, 20000);
        const QJsonObject expected = TooDeep(extensions);
        QVERIFY(Interaction::SameReply(m_session->client.replies.at(0), expected));
        m_session->client.Send(prefix + Nested(300, R"({"a":)", "0", "}") + "}}");
        QTRY_COMPARE_WITH_TIMEOUT(m_session->client.replies.size(), 2, 20000);
        QVERIFY(Interaction::SameReply(m_session->client.replies.at(1), expected));
        QCOMPARE(ErrorLines(), QStringList({line, line}));

        QVariant retValue;
        const QVariant before = m_session->Get(kWindow, "held");
        LogRecorder::Clear();
        const QVariantMap request{{"setpro", QVariantMap{{"objname", kWindow}, {"property", "held"}, {"propval", NestedVariant(20000)}}}};
        QVERIFY(!m_session->remote->controlObject(request, retValue));
        QCOMPARE(ErrorLines(), QStringList{line});
        QCOMPARE(m_session->Get(kWindow, "held"), before); // nothing was written

        m_session->client.Send(prefix + Nested(256, "[", "0", "]") + "}}");
        QTRY_COMPARE_WITH_TIMEOUT(m_session->client.replies.size(), 3, 20000);
        QVERIFY(Interaction::SameReply(m_session->client.replies.at(2), QJsonObject{{"result", true}}));
        QVERIFY(StillAnswers());
    }

    // A client that sends requests with large replies and never reads them: once it leaves more
    // than 64 MiB unread it is disconnected, with one log line, and its remaining requests are
    // dropped; the other clients go on being answered.
    void clientThatDoesNotReadIsDisconnected()
    {
        QTcpSocket silent;
        silent.setReadBufferSize(4096); // reads no more than this from the kernel: the server's sends back up
        silent.connectToHost(QHostAddress::LocalHost, m_session->remote->ServerPort());
        QVERIFY(silent.waitForConnected(10000));
        QByteArray requests;
        for (int i = 0; i < 40; ++i)
            requests += R"({"invokeret":{"objname":"faultWindow","method":"blob","mthargs":[4000000]}})";
        silent.write(requests);
        QVERIFY(silent.waitForBytesWritten(10000));

        // Messages run in arrival order, so this reply comes after every blob has been handled.
        QTRY_VERIFY_WITH_TIMEOUT(!ErrorLines().isEmpty(), 60000);
        QVERIFY(StillAnswers());
        const QStringList lines = ErrorLines();
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().startsWith(QStringLiteral("UIRemoteControl::ResponseToClient, client does not read its replies (")) &&
                     lines.first().endsWith(QStringLiteral(" bytes unsent): disconnected")),
                 qPrintable(lines.first()));
        // The unsent bytes named in the line stay below the bound.
        const qint64 unsent = lines.first().section(QLatin1Char('('), 1).section(QLatin1Char(' '), 0, 0).toLongLong();
        QVERIFY2(unsent > 0 && unsent <= qint64(64) * 1024 * 1024, qPrintable(lines.first()));
    }

    // Extension mode: a url-typed property takes only the application's own files and resources.
    void urlPropertiesTakeOnlyLocalSchemes_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("allowRemote");
        QTest::addColumn<QString>("refused"); // the refused scheme, empty when the write is accepted
        QTest::newRow("http") << "http://192.0.2.1/evil.qml" << false << "http";
        QTest::newRow("https") << "https://example.com/x.qml" << false << "https";
        QTest::newRow("data") << "data:text/plain,hello" << false << "data";
        QTest::newRow("ftp") << "ftp://example.com/x.png" << false << "ftp";
        QTest::newRow("file") << "file:///tmp/page.qml" << false << "";
        QTest::newRow("qrc") << "qrc:/page.qml" << false << "";
        QTest::newRow("relative") << "page.qml" << false << "";
        QTest::newRow("empty") << "" << false << "";
        QTest::newRow("http, allowed") << "http://192.0.2.1/evil.qml" << true << "";
    }
    void urlPropertiesTakeOnlyLocalSchemes()
    {
        QFETCH(QString, url);
        QFETCH(bool, allowRemote);
        QFETCH(QString, refused);
        if (allowRemote)
            qputenv("UIREMOTE_ALLOW_REMOTE_URLS", "1");
        const QJsonObject reply =
            m_session->Send(QStringLiteral("setpro"), {{"objname", kWindow}, {"property", "address"}, {"propval", url}});
        qunsetenv("UIREMOTE_ALLOW_REMOTE_URLS");
        if (refused.isEmpty()) {
            QVERIFY(Interaction::SameReply(reply, Interaction::Ok()));
            QCOMPARE(ErrorLines(), QStringList());
            return;
        }
        QVERIFY(Interaction::SameReply(
            reply, Interaction::Failed(QStringLiteral("property 'address' of faultWindow takes only file: and qrc: URLs, not %1: "
                                                      "(UIREMOTE_ALLOW_REMOTE_URLS=1 allows any)")
                                           .arg(refused))));
        QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoSetProperty, url scheme refused: ") + refused});
        QCOMPARE(m_session->Get(kWindow, "address").toUrl(), QUrl());
        // Other properties take any text, and outside extension mode nothing changes.
        QVERIFY(Interaction::SameReply(
            m_session->Send(QStringLiteral("setpro"), {{"objname", kWindow}, {"property", "held"}, {"propval", url}}),
            Interaction::Ok()));
        QVERIFY(Start(false));
        QVERIFY(Interaction::SameReply(
            m_session->Send(QStringLiteral("setpro"), {{"objname", kWindow}, {"property", "address"}, {"propval", url}}),
            Interaction::Ok()));
        QCOMPARE(m_session->Get(kWindow, "address").toUrl(), QUrl(url));
    }
};

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"
