// Actionability: pointer controls given "actionable": true, and the new pointer words always,
// act only on an item a person could act on, and otherwise answer false with the reason; without
// the key, or outside extension mode, the controls act as they always did.

#include "Session.h"

using Interaction::Failed;
using Interaction::Ok;
using Interaction::SameReply;
using Interaction::Session;

namespace {

QVariantMap Click(const QString &objname, const QString &window = QStringLiteral("actWindow"))
{
    return {{"objname", objname}, {"winobjname", window}, {"actionable", true}};
}

} // namespace

class TestActionability : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_session = std::make_unique<Session>(QStringLiteral("actionability.qml"));
        QVERIFY(m_session->Ready());
        QVERIFY(QTest::qWaitForWindowExposed(m_session->scene.window));
    }
    void cleanup() { m_session.reset(); }

    void actionableItemIsClicked()
    {
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Click(QStringLiteral("target"))), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("target"), "presses").toInt(), 1);
    }

    void labelInsideAButtonReachesTheButton()
    {
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Click(QStringLiteral("buttonLabel"))), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("button"), "presses").toInt(), 1);
    }

    void refusedItems_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<QVariantMap>("args");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("pressed");
        const auto row = [](const char *name, const char *word, const QVariantMap &args, const QString &reason) {
            QTest::newRow(name) << QString::fromLatin1(word) << args << reason << args.value("objname").toString();
        };
        row("hidden", "click", Click("hidden"), "the item hidden is not visible");
        row("disabled", "click", Click("disabled"), "the item disabled is not enabled");
        row("transparent", "click", Click("transparent"), "the item transparent is not visible");
        row("zero size", "click", Click("zero"), "the item zero has zero size");
        row("centre outside the window", "click", Click("edge"), "the point (300, 65) is outside the window actWindow (300x300)");
        row("point outside the window", "press", QVariantMap{{"objname", "target"}, {"winobjname", "actWindow"}, {"actionable", true},
                                                            {"x", -20}, {"y", 5}},
            "the point (-10, 15) is outside the window actWindow (300x300)");
        row("covered", "click", Click("covered"), "the item covered is covered at (40, 105) by cover");
        row("covered, double click", "dbclick", Click("covered"), "the item covered is covered at (40, 105) by cover");
        row("covered, drag", "drag", Click("covered"), "the item covered is covered at (40, 105) by cover");
        row("covered, hover", "hover", Click("covered"), "the item covered is covered at (40, 105) by cover");
        row("window name made up", "click", Click("target", "noSuchWindow"), "no window is named \"noSuchWindow\"");
        // Only a nameless window (a QQuickView's) goes by its root item's name.
        row("named window by its first item", "click", Click("target", "target"), "no window is named \"target\"");
        row("item of another window", "click", Click("target", "otherWindow"), "the item target is not shown in the window otherWindow");
        row("window not exposed", "click", Click("inHiddenWindow", "hiddenWindow"), "the window hiddenWindow is not exposed");
        row("swipe on a covered item", "swipe", QVariantMap{{"objname", "covered"}, {"from", "left"}, {"to", "right"}},
            "the item covered is covered at (11, 105) by cover");
        row("wheel on a hidden item", "wheel", QVariantMap{{"objname", "hidden"}, {"dy", 15}}, "the item hidden is not visible");
    }
    void refusedItems()
    {
        QFETCH(QString, word);
        QFETCH(QVariantMap, args);
        QFETCH(QString, reason);
        QFETCH(QString, pressed);
        QVERIFY(SameReply(m_session->Send(word, args), Failed(reason)));
        QCOMPARE(m_session->Get(pressed, "presses").toInt(), 0);
        QCOMPARE(m_session->Get(QStringLiteral("cover"), "presses").toInt(), 0);
    }

    void withoutTheKeyTheClickGoesWhereverItLands()
    {
        QVariantMap args = Click(QStringLiteral("covered"));
        args.remove(QStringLiteral("actionable"));
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), args), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("cover"), "presses").toInt(), 1);
        args = Click(QStringLiteral("target"), QStringLiteral("noSuchWindow"));
        args.insert(QStringLiteral("actionable"), false);
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), args), Ok()));
    }

    void outsideExtensionModeTheKeyIsIgnored()
    {
        m_session.reset(); // its windows have the same names
        Session plain(QStringLiteral("actionability.qml"), false);
        QVERIFY(plain.Ready());
        QVERIFY(SameReply(plain.Send(QStringLiteral("click"), Click(QStringLiteral("hidden"))), Ok()));
        QVERIFY(SameReply(plain.Send(QStringLiteral("click"), Click(QStringLiteral("covered"))), Ok()));
        QCOMPARE(plain.Get(QStringLiteral("cover"), "presses").toInt(), 1);
    }

    void modalPopupCoversEverythingOutsideIt()
    {
        QMetaObject::invokeMethod(m_session->Object(QStringLiteral("modalPopup")), "open");
        QVERIFY(SameReply(m_session->Send(QStringLiteral("waitidle"), {}), Ok()));
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Click(QStringLiteral("target"))),
                          Failed(QStringLiteral("the item target is covered by the modal popup modalPopup"))));
        QCOMPARE(m_session->Get(QStringLiteral("target"), "presses").toInt(), 0);
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Click(QStringLiteral("inPopup"))), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("inPopup"), "presses").toInt(), 1);
    }

    void plainPopupCoversWhatLiesBelowIt()
    {
        QMetaObject::invokeMethod(m_session->Object(QStringLiteral("plainPopup")), "open");
        QVERIFY(SameReply(m_session->Send(QStringLiteral("waitidle"), {}), Ok()));
        const QJsonObject reply = m_session->Send(QStringLiteral("click"), Click(QStringLiteral("belowPlainPopup")));
        QCOMPARE(reply.value("result").toBool(), false);
        QVERIFY2(reply.value("error").toString().startsWith("the item belowPlainPopup is covered at (190, 195) by "),
                 qPrintable(reply.value("error").toString()));
        QCOMPARE(m_session->Get(QStringLiteral("belowPlainPopup"), "presses").toInt(), 0);
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Click(QStringLiteral("underPopups"))), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("underPopups"), "presses").toInt(), 1);
    }

private:
    std::unique_ptr<Session> m_session;
};

QTEST_MAIN(TestActionability)
#include "tst_actionability.moc"
