// "typetext": any Unicode text reaches the focused item one key per character, with the
// character as the event's text; the item named by "objname" is clicked for focus first; and
// each failure answers false with its reason.

#include "Session.h"

using Interaction::Failed;
using Interaction::Ok;
using Interaction::Session;

class TestTyping : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_session = std::make_unique<Session>(QStringLiteral("typing.qml"));
        QVERIFY(m_session->Ready());
        m_session->scene.window->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(m_session->scene.window));
        QTRY_VERIFY(m_session->scene.window->activeFocusItem());
    }
    void cleanup() { m_session.reset(); }

    void typesTextExactlyAsGiven_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("capitals and space") << QStringLiteral("Hello World");
        QTest::newRow("punctuation") << QStringLiteral("a,b.c;d:e!f?g\"h'(i)[j]{k}<l>/m\\n|o@p#q$r%s^t&u*v-w_x+y=z~`");
        QTest::newRow("accents") << QStringLiteral("h\u00e9llo \u00c0 \u00fc\u00df \u00e7a");
        QTest::newRow("cjk") << QStringLiteral("\u4f60\u597d\u4e16\u754c");
        QTest::newRow("surrogate pair") << QStringLiteral("a\U0001F600b");
        QTest::newRow("empty") << QString();
    }
    void typesTextExactlyAsGiven()
    {
        QFETCH(QString, text);
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("typetext"), {{"winobjname", "typingWindow"}, {"text", text}}), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("field"), "text").toString(), text);
    }

    void onePressPerCharacterWithItsTextAndKey()
    {
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("typetext"), {{"text", QStringLiteral("Ab \u00e9\u4f60\U0001F600")}}), Ok()));
        const QStringList expected = {QStringLiteral("A/65"), QStringLiteral("b/66"), QStringLiteral(" /32"),
                                      QStringLiteral("\u00e9/201"), QStringLiteral("\u4f60/20320"),
                                      QStringLiteral("\U0001F600/128512")};
        QCOMPARE(m_session->Get(QStringLiteral("field"), "presses").toStringList(), expected);
    }

    // A character outside the Basic Multilingual Plane is one key press with both halves of its
    // surrogate pair as the text, so the field takes it as one character: Backspace removes it whole.
    void backspaceRemovesACharacterOutsideTheBmpWhole()
    {
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("typetext"), {{"text", QStringLiteral("a\U0001F600\U0001F44D")}}), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("field"), "text").toString(), QStringLiteral("a\U0001F600\U0001F44D"));
        QCOMPARE(m_session->Get(QStringLiteral("field"), "cursorPosition").toInt(), 5);
        const QVariantMap backspace{{"winobjname", "typingWindow"}, {"key", int(Qt::Key_Backspace)}};
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("keyclick"), backspace), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("field"), "text").toString(), QStringLiteral("a\U0001F600"));
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("keyclick"), backspace), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("field"), "text").toString(), QStringLiteral("a"));
    }

    void objnameClicksTheItemForFocusFirst()
    {
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("typetext"), {{"objname", "area"}, {"text", QStringLiteral("one\ntwo")}}), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("area"), "text").toString(), QStringLiteral("one\ntwo"));
        QCOMPARE(m_session->Get(QStringLiteral("field"), "text").toString(), QString());
    }

    void failures_data()
    {
        QTest::addColumn<QVariantMap>("args");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no text") << QVariantMap{{"winobjname", "typingWindow"}}
                                 << QStringLiteral("typetext needs a \"text\" string");
        QTest::newRow("text not a string") << QVariantMap{{"text", 42}} << QStringLiteral("typetext needs a \"text\" string");
        QTest::newRow("text too long") << QVariantMap{{"text", QString(100001, QLatin1Char('x'))}}
                                       << QStringLiteral("typetext types at most 100000 characters at a time");
        QTest::newRow("unknown window") << QVariantMap{{"winobjname", "nope"}, {"text", "x"}}
                                        << QStringLiteral("no window is named \"nope\"");
        QTest::newRow("window not exposed") << QVariantMap{{"winobjname", "hiddenWindow"}, {"text", "x"}}
                                            << QStringLiteral("the window hiddenWindow is not exposed");
        QTest::newRow("unknown item") << QVariantMap{{"objname", "nothing"}, {"text", "x"}}
                                      << QStringLiteral("no object matches nothing");
        QTest::newRow("item in hidden window") << QVariantMap{{"objname", "hiddenField"}, {"text", "x"}}
                                               << QStringLiteral("the window hiddenWindow is not exposed");
    }
    void failures()
    {
        QFETCH(QVariantMap, args);
        QFETCH(QString, reason);
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("typetext"), args), Failed(reason)));
        QCOMPARE(m_session->Get(QStringLiteral("field"), "text").toString(), QString());
    }

    void noFocusedItemGivesFalse()
    {
        m_session->scene.window->contentItem()->forceActiveFocus();
        m_session->Object(QStringLiteral("field"))->setProperty("focus", false);
        QTRY_VERIFY(!m_session->Object(QStringLiteral("field"))->property("activeFocus").toBool());
        QCOMPARE(m_session->scene.window->activeFocusItem(), m_session->scene.window->contentItem());
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("typetext"), {{"text", "x"}}),
                 Failed(QStringLiteral("no item has the keyboard focus in the window typingWindow"))));
    }

    void outsideExtensionModeTheWordIsUnknown()
    {
        m_session.reset(); // its windows have the same names
        Session plain(QStringLiteral("typing.qml"), false);
        QVERIFY(plain.Ready());
        const QJsonObject refused{{"result", false}};
        QVERIFY(Interaction::SameReply(plain.Send(QStringLiteral("typetext"), {{"text", "x"}}), refused));
    }

private:
    std::unique_ptr<Session> m_session;
};

QTEST_MAIN(TestTyping)
#include "tst_typing.moc"
