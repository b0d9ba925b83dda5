// "wheel" and "swipe": the wheel events an item receives, and gestures on a Flickable, a
// ListView, a SwipeView and a Drawer that end the same way on each of 20 runs.

#include "Session.h"

using Interaction::Failed;
using Interaction::Ok;
using Interaction::Session;

namespace {

const int kRuns = 20;

} // namespace

class TestGestures : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_session = std::make_unique<Session>(QStringLiteral("gestures.qml"));
        QVERIFY(m_session->Ready());
        QVERIFY(QTest::qWaitForWindowExposed(m_session->scene.window));
    }
    void cleanup() { m_session.reset(); }

    void wheelSendsOneEventPerNotch_data()
    {
        QTest::addColumn<QVariantMap>("args");
        QTest::addColumn<QStringList>("events");
        QTest::newRow("three notches away") << QVariantMap{{"dy", 45}} << QStringList{"0 120 0 0 0", "0 120 0 0 0", "0 120 0 0 0"};
        QTest::newRow("one notch left") << QVariantMap{{"dx", -15}} << QStringList{"-120 0 0 0 0"};
        QTest::newRow("part notches") << QVariantMap{{"dy", 20}} << QStringList{"0 80 0 0 0", "0 80 0 0 0"};
        QTest::newRow("both axes") << QVariantMap{{"dx", 15}, {"dy", -30}} << QStringList{"60 -120 0 0 0", "60 -120 0 0 0"};
        QTest::newRow("with shift") << QVariantMap{{"dy", 15}, {"keyboardModifier", int(Qt::ShiftModifier)}}
                                    << QStringList{"0 120 0 0 33554432"};
    }
    void wheelSendsOneEventPerNotch()
    {
        QFETCH(QVariantMap, args);
        QFETCH(QStringList, events);
        args.insert(QStringLiteral("objname"), QStringLiteral("wheelPad"));
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("wheel"), args), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("wheelPad"), "wheels").toStringList(), events);
    }

    void wheelScrollsFlickableTheSameEveryTime()
    {
        QList<qreal> ends;
        for (int run = 0; run < kRuns; ++run) {
            m_session->Set(QStringLiteral("flick"), "contentY", 0);
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("wheel"), {{"objname", "flick"}, {"dy", -15}}), Ok()));
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("waitidle"), {{"winobjname", "gestureWindow"}}), Ok()));
            ends.append(m_session->Get(QStringLiteral("flick"), "contentY").toReal());
        }
        QVERIFY2(ends.first() > 0, qPrintable(QString::number(ends.first())));
        QCOMPARE(ends.count(ends.first()), kRuns);
    }

    void wheelFailures_data()
    {
        QTest::addColumn<QVariantMap>("args");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no delta") << QVariantMap{{"objname", "wheelPad"}} << QStringLiteral("wheel needs \"dx\" or \"dy\" in degrees (at most 36000)");
        QTest::newRow("huge delta") << QVariantMap{{"objname", "wheelPad"}, {"dy", 1e9}}
                                    << QStringLiteral("wheel needs \"dx\" or \"dy\" in degrees (at most 36000)");
        QTest::newRow("unknown item") << QVariantMap{{"objname", "nothing"}, {"dy", 15}} << QStringLiteral("no object matches nothing");
        QTest::newRow("outside the window") << QVariantMap{{"objname", "wheelPad"}, {"x", 10}, {"y", 500}, {"dy", 15}}
                                            << QStringLiteral("the point (10, 810) is outside the window gestureWindow (640x400)");
    }
    void wheelFailures()
    {
        QFETCH(QVariantMap, args);
        QFETCH(QString, reason);
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("wheel"), args), Failed(reason)));
        QCOMPARE(m_session->Get(QStringLiteral("wheelPad"), "wheels").toStringList(), QStringList());
    }

    void swipeFlicksTheSameDistanceEveryTime_data()
    {
        QTest::addColumn<QString>("view");
        QTest::newRow("Flickable") << QStringLiteral("flick");
        QTest::newRow("ListView") << QStringLiteral("list");
    }
    void swipeFlicksTheSameDistanceEveryTime()
    {
        QFETCH(QString, view);
        QList<qreal> ends;
        for (int run = 0; run < kRuns; ++run) {
            m_session->Set(view, "contentY", 0);
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("swipe"), {{"objname", view}, {"from", "bottom"}, {"to", "top"}}), Ok()));
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("waitidle"), {{"winobjname", "gestureWindow"}}), Ok()));
            QCOMPARE(m_session->Get(view, "moving").toBool(), false);
            ends.append(m_session->Get(view, "contentY").toReal());
        }
        // A flick, not a drag: the content travels on beyond the 298 pixels the finger moved.
        QVERIFY2(ends.first() > 298, qPrintable(QString::number(ends.first())));
        QCOMPARE(ends.count(ends.first()), kRuns);
    }

    void swipeTurnsTheSwipeViewPageEveryTime()
    {
        QObject *pages = m_session->Object(QStringLiteral("pages"));
        for (int run = 0; run < kRuns; ++run) {
            QMetaObject::invokeMethod(pages, "setCurrentIndex", Q_ARG(int, 0));
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("waitidle"), {}), Ok()));
            QCOMPARE(pages->property("currentIndex").toInt(), 0);
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("swipe"), {{"objname", "pages"}, {"from", "center"}, {"to", "left"}}), Ok()));
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("waitidle"), {}), Ok()));
            QCOMPARE(pages->property("currentIndex").toInt(), 1);
            QCOMPARE(pages->property("contentItem").value<QObject *>()->property("contentX").toReal(), 200.0);
        }
    }

    void swipeOpensTheDrawerEveryTime()
    {
        QObject *drawer = m_session->Object(QStringLiteral("drawer"));
        QVERIFY(drawer);
        for (int run = 0; run < kRuns; ++run) {
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("swipe"), {{"objname", "drawerPage"}, {"from", "left"}, {"to", "center"}}), Ok()));
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("waitidle"), {{"winobjname", "drawerWindow"}}), Ok()));
            QCOMPARE(drawer->property("position").toReal(), 1.0);
            QCOMPARE(drawer->property("opened").toBool(), true);
            QMetaObject::invokeMethod(drawer, "close");
            QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("waitidle"), {{"winobjname", "drawerWindow"}}), Ok()));
            QCOMPARE(drawer->property("visible").toBool(), false);
        }
    }

    void swipeFailures_data()
    {
        QTest::addColumn<QVariantMap>("args");
        QTest::addColumn<QString>("reason");
        const QString points = QStringLiteral("swipe needs \"from\" and \"to\": [x, y], {\"x\", \"y\"} or a place such as \"left\"");
        const QString limits = QStringLiteral("swipe takes 1 to 1000 \"steps\" and a \"duration\" of 0 to 60000 ms");
        QTest::newRow("no points") << QVariantMap{{"objname", "flick"}} << points;
        QTest::newRow("unknown place") << QVariantMap{{"objname", "flick"}, {"from", "middle"}, {"to", "top"}} << points;
        QTest::newRow("short list") << QVariantMap{{"objname", "flick"}, {"from", QVariantList{1}}, {"to", "top"}} << points;
        QTest::newRow("zero steps") << QVariantMap{{"objname", "flick"}, {"from", "bottom"}, {"to", "top"}, {"steps", 0}} << limits;
        QTest::newRow("negative duration") << QVariantMap{{"objname", "flick"}, {"from", "bottom"}, {"to", "top"}, {"duration", -1}} << limits;
        QTest::newRow("to far away") << QVariantMap{{"objname", "flick"}, {"from", "bottom"}, {"to", QVariantList{1e300, 0}}} << points;
        QTest::newRow("from outside the window")
            << QVariantMap{{"objname", "flick"}, {"from", QVariantList{10, 900}}, {"to", "top"}}
            << QStringLiteral("the point (10, 900) is outside the window gestureWindow (640x400)");
    }
    void swipeFailures()
    {
        QFETCH(QVariantMap, args);
        QFETCH(QString, reason);
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("swipe"), args), Failed(reason)));
        QCOMPARE(m_session->Get(QStringLiteral("flick"), "contentY").toReal(), 0.0);
    }

    void swipeWithPointsAsMapsAndLists()
    {
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("swipe"), {{"objname", "flick"}, {"from", QVariantMap{{"x", 100}, {"y", 250}}},
                                                          {"to", QVariantList{100, 150}}, {"steps", 5}, {"duration", 500}}),
                 Ok()));
        QVERIFY(Interaction::SameReply(m_session->Send(QStringLiteral("waitidle"), {}), Ok()));
        QVERIFY(m_session->Get(QStringLiteral("flick"), "contentY").toReal() > 0);
    }

private:
    std::unique_ptr<Session> m_session;
};

QTEST_MAIN(TestGestures)
#include "tst_gestures.moc"
