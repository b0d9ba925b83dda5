// Pointer actions ("click", "dbclick", "hover", "press", "drag", "drop") against a real QML
// scene: what reaches the window, what the QML items see, the replies, and the trace lines.
//
// Two recorders watch every action: an event filter on the window (event type, button, buttons,
// modifiers, position and time stamp of each mouse event, exactly as Qt delivered it) and the
// MouseAreas of input_pointer.qml, which write down the signals they emit. Before each action the
// pointer is parked on an empty spot of the window, so the move that Qt puts in front of a press
// at a new position is always part of the recording.

#include "QtCompat.h"
#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QJSValue>
#include <QJsonObject>
#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest>

#include <memory>

namespace {

using TestSupport::kAlt;
using TestSupport::kControl;
using TestSupport::kKeypad;
using TestSupport::kMeta;
using TestSupport::kShift;
const int kGroup = 1073741824;  // Qt::GroupSwitchModifier

// An empty spot of the scene, away from every item.
const QPoint kPark(390, 290);

const QString kWindowName = QStringLiteral("pointerWindow");

// One mouse event as the window received it.
struct MouseRecord {
    QEvent::Type type;
    Qt::MouseButton button;
    Qt::MouseButtons buttons;
    Qt::KeyboardModifiers modifiers;
    QPointF pos;
    ulong timestamp;
};

QString TypeWord(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseButtonPress:
        return QStringLiteral("press");
    case QEvent::MouseButtonRelease:
        return QStringLiteral("release");
    case QEvent::MouseButtonDblClick:
        return QStringLiteral("dblclick");
    case QEvent::MouseMove:
        return QStringLiteral("move");
    default:
        return QString::number(int(type));
    }
}

// "press b=1 bs=1 m=0x2000000 @51,26 +0": the time stamp is given relative to the first event
// of the recording, so two recordings made at different times compare equal.
QString Describe(const QString &type, int button, int buttons, int modifiers, qreal x, qreal y, long delta)
{
    return QStringLiteral("%1 b=%2 bs=%3 m=0x%4 @%5,%6 +%7")
        .arg(type)
        .arg(button)
        .arg(buttons)
        .arg(QString::number(modifiers, 16))
        .arg(QString::number(x))
        .arg(QString::number(y))
        .arg(delta);
}

// The events as compared with the Qt Test library's own. Qt 6's Qt Test gives every event of one
// mouse action the same time stamp, where Qt 5's steps it by one per event; the remote control
// keeps Qt 5's steps under both majors (so items see the same events either way), and under Qt 6
// the comparison leaves the stamps out.
QStringList AsQtTestGivesThem(const QStringList &lines)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    QStringList stripped;
    for (const QString &line : lines)
        stripped.append(line.left(line.lastIndexOf(QLatin1String(" +"))));
    return stripped;
#else
    return lines;
#endif
}

// Shorthand for expected window events.
QString Ev(const char *type, int button, int buttons, int modifiers, qreal x, qreal y, long delta)
{
    return Describe(QString::fromLatin1(type), button, buttons, modifiers, x, y, delta);
}

class WindowMouseRecorder : public QObject {
public:
    explicit WindowMouseRecorder(QWindow *window) { window->installEventFilter(this); }

    QList<MouseRecord> events;

    QStringList Lines() const
    {
        QStringList lines;
        for (const MouseRecord &r : events) {
            const long delta = long(r.timestamp) - long(events.first().timestamp);
            lines.append(Describe(TypeWord(r.type), int(r.button), int(r.buttons), int(r.modifiers), r.pos.x(),
                                  r.pos.y(), delta));
        }
        return lines;
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove: {
            const auto *mouse = static_cast<QMouseEvent *>(event);
            events.append({event->type(), mouse->button(), mouse->buttons(), mouse->modifiers(), QtCompat::LocalPos(mouse),
                           mouse->timestamp()});
            break;
        }
        default:
            break;
        }
        return QObject::eventFilter(watched, event);
    }
};

QStringList Take(QObject *area) { return TestSupport::TakeRecorded(area); }

// Expected entries of a RecordingArea.
QString Area(const char *signal, int button, int buttons, int modifiers, int x, int y)
{
    return QStringLiteral("%1 %2 %3 %4 %5,%6").arg(QLatin1String(signal)).arg(button).arg(buttons).arg(modifiers).arg(x).arg(y);
}

// One call of the Qt Test library's mouse-event facility, for side-by-side runs.
struct Step {
    QTest::MouseAction action;
    Qt::MouseButton button;
    Qt::KeyboardModifiers modifiers;
    QPoint pos;
};
using Steps = QVector<Step>;

// Trace lines "<function>, Enter" / "<function>, Leave" in writing order.
QStringList EnterLeaveLines()
{
    QStringList lines;
    for (const LogRecorder::Line &line : LogRecorder::Lines()) {
        const QString text = QString::fromStdString(line.text);
        if (text.endsWith(QLatin1String(", Enter")) || text.endsWith(QLatin1String(", Leave")))
            lines.append(text);
    }
    return lines;
}

QStringList Scoped(const char *handler, const QStringList &helpers)
{
    const QString name = QString::fromLatin1(handler);
    QStringList lines{name + QStringLiteral(", Enter")};
    for (const QString &helper : helpers)
        lines.append(QStringLiteral("`anonymous-namespace'::") + helper + QStringLiteral(", Enter"));
    for (auto it = helpers.crbegin(); it != helpers.crend(); ++it)
        lines.append(QStringLiteral("`anonymous-namespace'::") + *it + QStringLiteral(", Leave"));
    lines.append(name + QStringLiteral(", Leave"));
    return lines;
}

} // namespace

Q_DECLARE_METATYPE(Steps)

class TestInputPointer : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void clickButtonWordChoosesButton_data();
    void clickButtonWordChoosesButton();
    void pressAlwaysUsesLeftButtonWithoutModifiers();
    void pointNeedsBothXAndY_data();
    void pointNeedsBothXAndY();
    void clickOnOddSizedItemLandsOnRoundedCentre();
    void pressAndDropOnOddSizedItemUseTruncatedCentre();
    void hoverWithoutPointEntersItemAtRoundedCentre();
    void hoverAtPointMovesToThatPoint();
    void centreIsMappedBeforeOrAfterRoundingPerAction_data();
    void centreIsMappedBeforeOrAfterRoundingPerAction();
    void queuedWorkOfItemIsDoneWhenActionReturns();
    void dragWithAllFromToKeysPressesAtFromAndMovesToTo();
    void dragWithIncompleteFromToStartsAtCentre_data();
    void dragWithIncompleteFromToStartsAtCentre();
    void dragKeepsItemPressedUntilDrop();
    void pressKeepsItemPressedUntilDrop();
    void dropWithoutPressIsStillSent();
    void doubleClickIsOneQtTestDoubleClick();
    void twoClicksAreNotADoubleClick();
    void modifiersReachItem_data();
    void modifiersReachItem();
    void modifierWithoutValidBitIsDroppedAndAppKeepsRunning_data();
    void modifierWithoutValidBitIsDroppedAndAppKeepsRunning();
    void pointOutsideWindowIsStillSent();
    void pointerEventsMatchQtTest_data();
    void pointerEventsMatchQtTest();
    void missingWindowOrItemGivesFalseAndNoEvent_data();
    void missingWindowOrItemGivesFalseAndNoEvent();
    void unknownWindowNameFallsBackToDefaultWindow();
    void handlersTraceEnterAndLeave_data();
    void handlersTraceEnterAndLeave();
    void repliesOverTcp();

private:
    bool Run(const QString &type, QVariantMap args, QWindow *defaultWindow = nullptr);
    void Park();
    void ReleaseHeldButtons();
    void Replay(const Steps &steps);

    std::unique_ptr<TestSupport::Scene> m_scene;
    std::unique_ptr<WindowMouseRecorder> m_recorder;
    QQuickItem *m_target = nullptr;
    QQuickItem *m_shifted = nullptr;
    QQuickItem *m_scaled = nullptr;
};

void TestInputPointer::init()
{
    m_scene.reset(new TestSupport::Scene(QStringLiteral("input_pointer.qml")));
    QVERIFY2(m_scene->window, "input_pointer.qml did not load");
    QVERIFY(QTest::qWaitForWindowExposed(m_scene->window));
    m_target = m_scene->root->findChild<QQuickItem *>(QStringLiteral("target"));
    m_shifted = m_scene->root->findChild<QQuickItem *>(QStringLiteral("shifted"));
    m_scaled = m_scene->root->findChild<QQuickItem *>(QStringLiteral("scaled"));
    QVERIFY(m_target && m_shifted && m_scaled);
    m_recorder.reset(new WindowMouseRecorder(m_scene->window));
    Park();
    LogRecorder::Clear();
}

void TestInputPointer::cleanup()
{
    if (m_scene && m_scene->window)
        ReleaseHeldButtons();
    m_recorder.reset();
    m_scene.reset();
    m_target = m_shifted = m_scaled = nullptr;
}

// Runs one control in-process. The scene's window is found by name unless the caller changes
// "winobjname"; the target item defaults to "target".
bool TestInputPointer::Run(const QString &type, QVariantMap args, QWindow *defaultWindow)
{
    if (!args.contains(QStringLiteral("winobjname")))
        args.insert(QStringLiteral("winobjname"), kWindowName);
    if (!args.contains(QStringLiteral("objname")))
        args.insert(QStringLiteral("objname"), QStringLiteral("target"));
    UIRemoteControl control(m_scene->root, nullptr, defaultWindow);
    QVariant value;
    const bool result = control.controlObject(QVariantMap{{type, args}}, value);
    if (value.isValid())
        QTest::qFail("the control gave a value; it must give none", __FILE__, __LINE__);
    return result;
}

// Moves the pointer to the empty spot and forgets everything recorded so far. Two moves: one at
// the pointer's current position would be dropped by Qt, and the items must see the pointer go.
void TestInputPointer::Park()
{
    QTest::mouseMove(m_scene->window, kPark - QPoint(5, 5));
    QTest::mouseMove(m_scene->window, kPark);
    m_recorder->events.clear();
    Take(m_target);
    Take(m_shifted);
    Take(m_scaled);
}

// A "press" or "drag" leaves a button held in the Qt Test library's shared button state; later
// tests must start with none.
void TestInputPointer::ReleaseHeldButtons()
{
    for (Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
        if (QTestPrivate::qtestMouseButtons.testFlag(button))
            QTest::mouseRelease(m_scene->window, button, Qt::NoModifier, kPark);
    }
}

void TestInputPointer::Replay(const Steps &steps)
{
    for (const Step &step : steps)
        QTest::mouseEvent(step.action, m_scene->window, step.button, step.modifiers, step.pos);
}

// ---------------------------------------------------------------------------------------------

void TestInputPointer::clickButtonWordChoosesButton_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QVariant>("word"); // invalid: no "clickbtn" key
    QTest::addColumn<int>("button");

    const int left = Qt::LeftButton, right = Qt::RightButton, mid = Qt::MiddleButton;
    for (const char *control : {"click", "dbclick"}) {
        const QString c = QString::fromLatin1(control);
        QTest::addRow("%s Right", control) << c << QVariant(QStringLiteral("Right")) << right;
        QTest::addRow("%s RIGHT", control) << c << QVariant(QStringLiteral("RIGHT")) << right;
        QTest::addRow("%s right", control) << c << QVariant(QStringLiteral("right")) << right;
        QTest::addRow("%s mid", control) << c << QVariant(QStringLiteral("mid")) << mid;
        QTest::addRow("%s MID", control) << c << QVariant(QStringLiteral("MID")) << mid;
        QTest::addRow("%s Mid", control) << c << QVariant(QStringLiteral("Mid")) << mid;
        QTest::addRow("%s left", control) << c << QVariant(QStringLiteral("left")) << left;
        QTest::addRow("%s empty", control) << c << QVariant(QString()) << left;
        QTest::addRow("%s absent", control) << c << QVariant() << left;
        QTest::addRow("%s middle", control) << c << QVariant(QStringLiteral("middle")) << left;
        QTest::addRow("%s unknown word", control) << c << QVariant(QStringLiteral("wheel")) << left;
        QTest::addRow("%s padded right", control) << c << QVariant(QStringLiteral(" right")) << left;
    }
}

void TestInputPointer::clickButtonWordChoosesButton()
{
    QFETCH(QString, control);
    QFETCH(QVariant, word);
    QFETCH(int, button);

    QVariantMap args;
    if (word.isValid())
        args.insert(QStringLiteral("clickbtn"), word);
    QVERIFY(Run(control, args));

    QStringList window{Ev("move", 0, 0, 0, 51, 26, 0), Ev("press", button, button, 0, 51, 26, 0),
                       Ev("release", button, 0, 0, 51, 26, 1)};
    QStringList item{QStringLiteral("entered"), Area("pressed", button, button, 0, 51, 26),
                     Area("released", button, 0, 0, 51, 26), Area("clicked", button, 0, 0, 51, 26)};
    if (control == QLatin1String("dbclick")) {
        window << Ev("press", button, button, 0, 51, 26, 2) << Ev("dblclick", button, button, 0, 51, 26, 2)
               << Ev("release", button, 0, 0, 51, 26, 3);
        item << Area("pressed", button, button, 0, 51, 26) << Area("doubleClicked", button, button, 0, 51, 26)
             << Area("released", button, 0, 0, 51, 26);
    }
    QCOMPARE(m_recorder->Lines(), window);
    QCOMPARE(Take(m_target), item);
}

void TestInputPointer::pressAlwaysUsesLeftButtonWithoutModifiers()
{
    QVERIFY(Run(QStringLiteral("press"), {{QStringLiteral("clickbtn"), QStringLiteral("right")},
                                          {QStringLiteral("keyboardModifier"), kShift}}));
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 0, 0, 50, 25, 0), Ev("press", 1, 1, 0, 50, 25, 0)}));
    QCOMPARE(Take(m_target), (QStringList{QStringLiteral("entered"), Area("pressed", 1, 1, 0, 50, 25)}));
    QCOMPARE(QQmlProperty::read(m_target, QStringLiteral("pressedButtons")).toInt(), int(Qt::LeftButton));

    // The drop that ends it ignores the same keys.
    m_recorder->events.clear();
    QVERIFY(Run(QStringLiteral("drop"), {{QStringLiteral("clickbtn"), QStringLiteral("mid")},
                                         {QStringLiteral("keyboardModifier"), kControl}}));
    QCOMPARE(m_recorder->Lines(), QStringList{Ev("release", 1, 0, 0, 50, 25, 0)});
    QCOMPARE(Take(m_target), (QStringList{Area("released", 1, 0, 0, 50, 25), Area("clicked", 1, 0, 0, 50, 25)}));
}

void TestInputPointer::pointNeedsBothXAndY_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QVariantMap>("point");
    QTest::addColumn<QPoint>("expected");

    const QPoint rounded(51, 26), truncated(50, 25);
    const QVariantMap onlyX{{QStringLiteral("x"), 10}};
    const QVariantMap onlyY{{QStringLiteral("y"), 10}};
    const QVariantMap both{{QStringLiteral("x"), 10}, {QStringLiteral("y"), 20}};
    QTest::newRow("click only x") << "click" << onlyX << rounded;
    QTest::newRow("click only y") << "click" << onlyY << rounded;
    QTest::newRow("click x and y") << "click" << both << QPoint(10, 20);
    QTest::newRow("click x and y as strings")
        << "click" << QVariantMap{{QStringLiteral("x"), QStringLiteral("10")}, {QStringLiteral("y"), QStringLiteral("20")}}
        << QPoint(10, 20);
    QTest::newRow("click x and y as doubles")
        << "click" << QVariantMap{{QStringLiteral("x"), 10.0}, {QStringLiteral("y"), 20.0}} << QPoint(10, 20);
    QTest::newRow("dbclick only x") << "dbclick" << onlyX << rounded;
    QTest::newRow("hover only x") << "hover" << onlyX << rounded;
    QTest::newRow("hover only y") << "hover" << onlyY << rounded;
    QTest::newRow("press only x") << "press" << onlyX << truncated;
    QTest::newRow("press only y") << "press" << onlyY << truncated;
    QTest::newRow("press x and y") << "press" << both << QPoint(10, 20);
    QTest::newRow("drop only x") << "drop" << onlyX << truncated;
    QTest::newRow("drop x and y") << "drop" << both << QPoint(10, 20);
}

// With only one of "x" and "y" the action goes to the item's centre; the last event of the
// action (release, move or press) tells where it went.
void TestInputPointer::pointNeedsBothXAndY()
{
    QFETCH(QString, control);
    QFETCH(QVariantMap, point);
    QFETCH(QPoint, expected);

    QVERIFY(Run(control, point));
    QVERIFY(!m_recorder->events.isEmpty());
    for (const MouseRecord &event : qAsConst(m_recorder->events))
        QCOMPARE(event.pos, QPointF(expected));
}

void TestInputPointer::clickOnOddSizedItemLandsOnRoundedCentre()
{
    QCOMPARE(m_target->size(), QSizeF(101, 51));
    QCOMPARE(m_target->mapToScene(QPointF(0, 0)), QPointF(0, 0));

    QVERIFY(Run(QStringLiteral("click"), {}));
    // (50.5, 25.5) goes to (51, 26): halves round away from zero.
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 0, 0, 51, 26, 0), Ev("press", 1, 1, 0, 51, 26, 0),
                                               Ev("release", 1, 0, 0, 51, 26, 1)}));
    QCOMPARE(Take(m_target), (QStringList{QStringLiteral("entered"), Area("pressed", 1, 1, 0, 51, 26),
                                          Area("released", 1, 0, 0, 51, 26), Area("clicked", 1, 0, 0, 51, 26)}));
}

void TestInputPointer::pressAndDropOnOddSizedItemUseTruncatedCentre()
{
    QVERIFY(Run(QStringLiteral("press"), {}));
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 0, 0, 50, 25, 0), Ev("press", 1, 1, 0, 50, 25, 0)}));
    QCOMPARE(Take(m_target), (QStringList{QStringLiteral("entered"), Area("pressed", 1, 1, 0, 50, 25)}));

    QTest::mouseMove(m_scene->window, QPoint(70, 40)); // elsewhere on the item, button still held
    m_recorder->events.clear();
    Take(m_target);

    QVERIFY(Run(QStringLiteral("drop"), {}));
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 1, 0, 50, 25, 0), Ev("release", 1, 0, 0, 50, 25, 0)}));
    QCOMPARE(Take(m_target), (QStringList{Area("moved", 0, 1, 0, 50, 25), Area("released", 1, 0, 0, 50, 25),
                                          Area("clicked", 1, 0, 0, 50, 25)}));
}

void TestInputPointer::hoverWithoutPointEntersItemAtRoundedCentre()
{
    QVERIFY(!QQmlProperty::read(m_target, QStringLiteral("containsMouse")).toBool());
    QVERIFY(Run(QStringLiteral("hover"), {{QStringLiteral("clickbtn"), QStringLiteral("right")},
                                          {QStringLiteral("keyboardModifier"), kShift}}));
    QCOMPARE(m_recorder->Lines(), QStringList{Ev("move", 0, 0, 0, 51, 26, 0)});
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("containsMouse")).toBool());
    QCOMPARE(QQmlProperty::read(m_target, QStringLiteral("mouseX")).toReal(), 51.0);
    QCOMPARE(QQmlProperty::read(m_target, QStringLiteral("mouseY")).toReal(), 26.0);
    QCOMPARE(Take(m_target).first(), QStringLiteral("entered"));
    QVERIFY(!QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
}

void TestInputPointer::hoverAtPointMovesToThatPoint()
{
    QVERIFY(Run(QStringLiteral("hover"), {{QStringLiteral("x"), 20}, {QStringLiteral("y"), 30}}));
    QVERIFY(Run(QStringLiteral("hover"), {{QStringLiteral("x"), 60}, {QStringLiteral("y"), 10}}));
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 0, 0, 20, 30, 0), Ev("move", 0, 0, 0, 60, 10, 1)}));
    QCOMPARE(Take(m_target), (QStringList{QStringLiteral("entered"), Area("moved", 0, 0, 0, 60, 10)}));
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("containsMouse")).toBool());

    // A point outside the item still goes there: the item is left.
    QVERIFY(Run(QStringLiteral("hover"), {{QStringLiteral("x"), 300}, {QStringLiteral("y"), 200}}));
    QCOMPARE(m_recorder->events.last().pos, QPointF(300, 200));
    QVERIFY(!QQmlProperty::read(m_target, QStringLiteral("containsMouse")).toBool());
    QCOMPARE(Take(m_target), QStringList{QStringLiteral("exited")});
}

void TestInputPointer::centreIsMappedBeforeOrAfterRoundingPerAction_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QPoint>("expected");

    // "shifted" lies at (100.3, 60.6): its centre (50.5, 25.5) maps to (150.8, 86.1) and rounds to
    // (151, 86); the truncated centre (50, 25) maps to (150.3, 85.6) and rounds to (150, 86).
    const QVariantMap shifted{{QStringLiteral("objname"), QStringLiteral("shifted")}};
    QVariantMap withPoint = shifted;
    withPoint.insert(QStringLiteral("x"), 10);
    withPoint.insert(QStringLiteral("y"), 10); // (110.3, 70.6)
    QVariantMap byPath = shifted;
    byPath.insert(QStringLiteral("parobjname"), QStringLiteral("panel"));

    QTest::newRow("click") << "click" << shifted << QPoint(151, 86);
    QTest::newRow("dbclick") << "dbclick" << shifted << QPoint(151, 86);
    QTest::newRow("hover") << "hover" << shifted << QPoint(151, 86);
    QTest::newRow("press") << "press" << shifted << QPoint(150, 86);
    QTest::newRow("drop") << "drop" << shifted << QPoint(150, 86);
    QTest::newRow("drag") << "drag" << shifted << QPoint(150, 86);
    QTest::newRow("click at point") << "click" << withPoint << QPoint(110, 71);
    QTest::newRow("press at point") << "press" << withPoint << QPoint(110, 71);
    QTest::newRow("click by parent path") << "click" << byPath << QPoint(151, 86);

    // "scaled" is drawn 1.5 times its size from (10.2, 200.4).
    const QVariantMap scaled{{QStringLiteral("objname"), QStringLiteral("scaled")}};
    QVariantMap scaledPoint = scaled;
    scaledPoint.insert(QStringLiteral("x"), 7);
    scaledPoint.insert(QStringLiteral("y"), 7); // (20.7, 210.9)
    QTest::newRow("scaled click") << "click" << scaled << QPoint(86, 239);
    QTest::newRow("scaled hover") << "hover" << scaled << QPoint(86, 239);
    QTest::newRow("scaled press") << "press" << scaled << QPoint(85, 238);
    QTest::newRow("scaled drop") << "drop" << scaled << QPoint(85, 238);
    QTest::newRow("scaled drag") << "drag" << scaled << QPoint(85, 238);
    QTest::newRow("scaled click at point") << "click" << scaledPoint << QPoint(21, 211);
    QTest::newRow("scaled press at point") << "press" << scaledPoint << QPoint(21, 211);
}

void TestInputPointer::centreIsMappedBeforeOrAfterRoundingPerAction()
{
    QFETCH(QString, control);
    QFETCH(QVariantMap, args);
    QFETCH(QPoint, expected);

    QVERIFY(Run(control, args));
    QVERIFY(!m_recorder->events.isEmpty());
    for (const MouseRecord &event : qAsConst(m_recorder->events))
        QCOMPARE(event.pos, QPointF(expected));
    QVERIFY(Take(m_target).isEmpty());
}

// Work that the item queues while handling the events is done before the action returns, as
// after the Qt Test library's own mouse functions.
void TestInputPointer::queuedWorkOfItemIsDoneWhenActionReturns()
{
    QCOMPARE(QQmlProperty::read(m_target, QStringLiteral("laterClicks")).toInt(), 0);
    QVERIFY(Run(QStringLiteral("click"), {}));
    QCOMPARE(QQmlProperty::read(m_target, QStringLiteral("laterClicks")).toInt(), 1);
    QTest::mouseClick(m_scene->window, Qt::LeftButton, Qt::NoModifier, QPoint(51, 26));
    QCOMPARE(QQmlProperty::read(m_target, QStringLiteral("laterClicks")).toInt(), 2);
}

void TestInputPointer::dragWithAllFromToKeysPressesAtFromAndMovesToTo()
{
    QVERIFY(Run(QStringLiteral("drag"), {{QStringLiteral("from_x"), 10},
                                         {QStringLiteral("from_y"), 12},
                                         {QStringLiteral("to_x"), 80},
                                         {QStringLiteral("to_y"), 40},
                                         {QStringLiteral("x"), 3}, // ignored: from/to are complete
                                         {QStringLiteral("y"), 4}}));
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 0, 0, 10, 12, 0), Ev("press", 1, 1, 0, 10, 12, 0),
                                               Ev("move", 0, 1, 0, 80, 40, 1)}));
    QCOMPARE(Take(m_target), (QStringList{QStringLiteral("entered"), Area("pressed", 1, 1, 0, 10, 12),
                                          Area("moved", 0, 1, 0, 80, 40)}));
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
}

void TestInputPointer::dragWithIncompleteFromToStartsAtCentre_data()
{
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QStringList>("window");

    const QString fx = QStringLiteral("from_x"), fy = QStringLiteral("from_y"), tx = QStringLiteral("to_x"),
                  ty = QStringLiteral("to_y"), x = QStringLiteral("x"), y = QStringLiteral("y");
    const QStringList toPoint{Ev("move", 0, 0, 0, 50, 25, 0), Ev("press", 1, 1, 0, 50, 25, 0),
                              Ev("move", 0, 1, 0, 30, 40, 1)};
    // The move to the press point itself carries no change of position: Qt drops it, so the
    // window sees the press alone.
    const QStringList toCentre{Ev("move", 0, 0, 0, 50, 25, 0), Ev("press", 1, 1, 0, 50, 25, 0)};

    QTest::newRow("no to_y, x and y") << QVariantMap{{fx, 5}, {fy, 5}, {tx, 90}, {x, 30}, {y, 40}} << toPoint;
    QTest::newRow("no from_x, x and y") << QVariantMap{{fy, 5}, {tx, 90}, {ty, 45}, {x, 30}, {y, 40}} << toPoint;
    QTest::newRow("only x and y") << QVariantMap{{x, 30}, {y, 40}} << toPoint;
    QTest::newRow("no to_y, no point") << QVariantMap{{fx, 5}, {fy, 5}, {tx, 90}} << toCentre;
    QTest::newRow("no to_y, only x") << QVariantMap{{fx, 5}, {fy, 5}, {tx, 90}, {x, 30}} << toCentre;
    QTest::newRow("nothing") << QVariantMap{} << toCentre;
}

void TestInputPointer::dragWithIncompleteFromToStartsAtCentre()
{
    QFETCH(QVariantMap, args);
    QFETCH(QStringList, window);

    QVERIFY(Run(QStringLiteral("drag"), args));
    QCOMPARE(m_recorder->Lines(), window);
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
}

void TestInputPointer::dragKeepsItemPressedUntilDrop()
{
    QVERIFY(Run(QStringLiteral("drag"), {{QStringLiteral("x"), 70}, {QStringLiteral("y"), 30}}));
    QCOMPARE(Take(m_target), (QStringList{QStringLiteral("entered"), Area("pressed", 1, 1, 0, 50, 25),
                                          Area("moved", 0, 1, 0, 70, 30)}));
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
    QCOMPARE(QTestPrivate::qtestMouseButtons, Qt::MouseButtons(Qt::LeftButton));

    // Other pointer traffic does not end the gesture: the button stays held.
    QVERIFY(Run(QStringLiteral("hover"), {{QStringLiteral("x"), 90}, {QStringLiteral("y"), 45}}));
    QCOMPARE(m_recorder->events.last().buttons, Qt::MouseButtons(Qt::LeftButton));
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
    QCOMPARE(Take(m_target), QStringList{Area("moved", 0, 1, 0, 90, 45)});

    m_recorder->events.clear();
    QVERIFY(Run(QStringLiteral("drop"), {{QStringLiteral("x"), 70}, {QStringLiteral("y"), 30}}));
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 1, 0, 70, 30, 0), Ev("release", 1, 0, 0, 70, 30, 0)}));
    QCOMPARE(Take(m_target), (QStringList{Area("moved", 0, 1, 0, 70, 30), Area("released", 1, 0, 0, 70, 30),
                                          Area("clicked", 1, 0, 0, 70, 30)}));
    QVERIFY(!QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
    QCOMPARE(QTestPrivate::qtestMouseButtons, Qt::MouseButtons(Qt::NoButton));
}

void TestInputPointer::pressKeepsItemPressedUntilDrop()
{
    QVERIFY(Run(QStringLiteral("press"), {{QStringLiteral("x"), 20}, {QStringLiteral("y"), 20}}));
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
    QVERIFY(Run(QStringLiteral("hover"), {{QStringLiteral("x"), 30}, {QStringLiteral("y"), 20}}));
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
    QVERIFY(Run(QStringLiteral("drop"), {{QStringLiteral("x"), 30}, {QStringLiteral("y"), 20}}));
    QVERIFY(!QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
    QCOMPARE(Take(m_target), (QStringList{QStringLiteral("entered"), Area("pressed", 1, 1, 0, 20, 20),
                                          Area("moved", 0, 1, 0, 30, 20), Area("released", 1, 0, 0, 30, 20),
                                          Area("clicked", 1, 0, 0, 30, 20)}));
}

void TestInputPointer::dropWithoutPressIsStillSent()
{
    QCOMPARE(QTestPrivate::qtestMouseButtons, Qt::MouseButtons(Qt::NoButton));
    QVERIFY(Run(QStringLiteral("drop"), {}));
    // Qt puts a move in front of the release, with the released button still counted as held.
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 1, 0, 50, 25, 0), Ev("release", 1, 0, 0, 50, 25, 0)}));
    // The item was never pressed, so the release means nothing to it; only the pointer arrived.
    QCOMPARE(Take(m_target), QStringList{QStringLiteral("entered")});
    QVERIFY(!QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
}

void TestInputPointer::doubleClickIsOneQtTestDoubleClick()
{
    QVERIFY(Run(QStringLiteral("dbclick"), {}));
    const QStringList viaControl = m_recorder->Lines();
    const QStringList itemViaControl = Take(m_target);

    QCOMPARE(viaControl, (QStringList{Ev("move", 0, 0, 0, 51, 26, 0), Ev("press", 1, 1, 0, 51, 26, 0),
                                      Ev("release", 1, 0, 0, 51, 26, 1), Ev("press", 1, 1, 0, 51, 26, 2),
                                      Ev("dblclick", 1, 1, 0, 51, 26, 2), Ev("release", 1, 0, 0, 51, 26, 3)}));
    QCOMPARE(itemViaControl,
             (QStringList{QStringLiteral("entered"), Area("pressed", 1, 1, 0, 51, 26), Area("released", 1, 0, 0, 51, 26),
                          Area("clicked", 1, 0, 0, 51, 26), Area("pressed", 1, 1, 0, 51, 26),
                          Area("doubleClicked", 1, 1, 0, 51, 26), Area("released", 1, 0, 0, 51, 26)}));

    Park();
    QTest::mouseDClick(m_scene->window, Qt::LeftButton, Qt::NoModifier, QPoint(51, 26));
    QCOMPARE(AsQtTestGivesThem(m_recorder->Lines()), AsQtTestGivesThem(viaControl));
    QCOMPARE(Take(m_target), itemViaControl);
}

void TestInputPointer::twoClicksAreNotADoubleClick()
{
    QVERIFY(Run(QStringLiteral("click"), {}));
    QVERIFY(Run(QStringLiteral("click"), {}));
    for (const MouseRecord &event : qAsConst(m_recorder->events))
        QVERIFY(event.type != QEvent::MouseButtonDblClick);
    QVERIFY(!Take(m_target).contains(Area("doubleClicked", 1, 1, 0, 51, 26)));
}

void TestInputPointer::modifiersReachItem_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QVariant>("modifier");
    QTest::addColumn<int>("expected");

    for (const char *control : {"click", "dbclick"}) {
        const QString c = QString::fromLatin1(control);
        QTest::addRow("%s Shift", control) << c << QVariant(kShift) << kShift;
        QTest::addRow("%s Control", control) << c << QVariant(kControl) << kControl;
        QTest::addRow("%s Alt", control) << c << QVariant(kAlt) << kAlt;
        QTest::addRow("%s Meta", control) << c << QVariant(kMeta) << kMeta;
        QTest::addRow("%s Shift+Control+Alt+Meta", control)
            << c << QVariant(kShift | kControl | kAlt | kMeta) << (kShift | kControl | kAlt | kMeta);
        QTest::addRow("%s Keypad", control) << c << QVariant(kKeypad) << kKeypad;
        QTest::addRow("%s as string", control) << c << QVariant(QStringLiteral("67108864")) << kControl;
        QTest::addRow("%s as double", control) << c << QVariant(double(kAlt)) << kAlt;
        QTest::addRow("%s absent", control) << c << QVariant() << 0;
        QTest::addRow("%s not a number", control) << c << QVariant(QStringLiteral("Shift")) << 0;
    }
}

void TestInputPointer::modifiersReachItem()
{
    QFETCH(QString, control);
    QFETCH(QVariant, modifier);
    QFETCH(int, expected);

    QVariantMap args;
    if (modifier.isValid())
        args.insert(QStringLiteral("keyboardModifier"), modifier);
    QVERIFY(Run(control, args));
    QVERIFY(!m_recorder->events.isEmpty());
    for (const MouseRecord &event : qAsConst(m_recorder->events))
        QCOMPARE(int(event.modifiers), expected);
    const QStringList item = Take(m_target);
    QVERIFY(item.contains(Area("pressed", 1, 1, expected, 51, 26)));
    QVERIFY(item.contains(Area("released", 1, 0, expected, 51, 26)));
    if (control == QLatin1String("dbclick"))
        QVERIFY(item.contains(Area("doubleClicked", 1, 1, expected, 51, 26)));
    else
        QVERIFY(item.contains(Area("clicked", 1, 0, expected, 51, 26)));
}

void TestInputPointer::modifierWithoutValidBitIsDroppedAndAppKeepsRunning_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<int>("modifier");
    QTest::addColumn<int>("expected");

    // The Qt Test library itself asserts (and so ends the process) on a non-zero value without
    // any bit of Qt::KeyboardModifierMask; the control keeps the valid bits and drops the rest.
    QTest::newRow("click 1") << "click" << 1 << 0;
    QTest::newRow("dbclick 1") << "dbclick" << 1 << 0;
    QTest::newRow("click 0x00ffffff") << "click" << 0x00ffffff << 0;
    QTest::newRow("click 0x01000000") << "click" << 0x01000000 << 0;
    QTest::newRow("click Shift|1") << "click" << (kShift | 1) << kShift;
}

void TestInputPointer::modifierWithoutValidBitIsDroppedAndAppKeepsRunning()
{
    QFETCH(QString, control);
    QFETCH(int, modifier);
    QFETCH(int, expected);

    QVERIFY(Run(control, {{QStringLiteral("keyboardModifier"), modifier}}));
    QVERIFY(!m_recorder->events.isEmpty());
    for (const MouseRecord &event : qAsConst(m_recorder->events))
        QCOMPARE(int(event.modifiers), expected);
    QVERIFY(Take(m_target).contains(Area("pressed", 1, 1, expected, 51, 26)));

    // Still alive and serving.
    QVERIFY(Run(QStringLiteral("click"), {}));
    QVERIFY(Take(m_target).contains(Area("clicked", 1, 0, 0, 51, 26)));
}

void TestInputPointer::pointOutsideWindowIsStillSent()
{
    QTest::ignoreMessage(QtWarningMsg, "Mouse event at 500, 400 occurs outside of target window (400x300).");
    QVERIFY(Run(QStringLiteral("click"), {{QStringLiteral("x"), 500}, {QStringLiteral("y"), 400}}));
    QCOMPARE(m_recorder->Lines(), (QStringList{Ev("move", 0, 0, 0, 500, 400, 0), Ev("press", 1, 1, 0, 500, 400, 0),
                                               Ev("release", 1, 0, 0, 500, 400, 1)}));
    QVERIFY(Take(m_target).isEmpty());
}

void TestInputPointer::pointerEventsMatchQtTest_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<Steps>("steps");

    struct Button {
        const char *word;
        Qt::MouseButton button;
    };
    struct Where {
        const char *name;
        QVariantMap point;
        QPoint rounded;   // click, dbclick, hover
        QPoint truncated; // press, drop, drag
    };
    const QString x = QStringLiteral("x"), y = QStringLiteral("y");
    const QVector<Where> places = {
        {"centre", {}, QPoint(51, 26), QPoint(50, 25)},
        {"at 10,20", {{x, 10}, {y, 20}}, QPoint(10, 20), QPoint(10, 20)},
        {"at 100,50", {{x, 100}, {y, 50}}, QPoint(100, 50), QPoint(100, 50)},
        // The scene origin is the window's null point, which the Qt Test library replaces by the
        // window's centre; the control does the same.
        {"at 0,0", {{x, 0}, {y, 0}}, QPoint(0, 0), QPoint(0, 0)},
    };
    const QVector<Button> buttons = {{"", Qt::LeftButton}, {"right", Qt::RightButton}, {"mid", Qt::MiddleButton}};
    const QVector<int> modifiers = {0,     kShift, kControl, kAlt, kMeta, kShift | kControl | kAlt | kMeta,
                                    kKeypad, kGroup, kShift | 1};

    for (const char *control : {"click", "dbclick"}) {
        const bool dbl = qstrcmp(control, "dbclick") == 0;
        for (const Where &where : places) {
            for (const Button &button : buttons) {
                for (int modifier : modifiers) {
                    QVariantMap args = where.point;
                    args.insert(QStringLiteral("clickbtn"), QString::fromLatin1(button.word));
                    args.insert(QStringLiteral("keyboardModifier"), modifier);
                    const Steps steps{{dbl ? QTest::MouseDClick : QTest::MouseClick, button.button,
                                       Qt::KeyboardModifiers(modifier), where.rounded}};
                    QTest::addRow("%s %s %s 0x%x", control, where.name, button.word, unsigned(modifier))
                        << QString::fromLatin1(control) << args << steps;
                }
            }
        }
    }
    for (const Where &where : places) {
        // The keys that these actions ignore are given too.
        QVariantMap args = where.point;
        args.insert(QStringLiteral("clickbtn"), QStringLiteral("right"));
        args.insert(QStringLiteral("keyboardModifier"), kControl);
        QTest::addRow("hover %s", where.name)
            << "hover" << args << Steps{{QTest::MouseMove, Qt::NoButton, Qt::NoModifier, where.rounded}};
        QTest::addRow("press %s", where.name)
            << "press" << args << Steps{{QTest::MousePress, Qt::LeftButton, Qt::NoModifier, where.truncated}};
        QTest::addRow("drop %s", where.name)
            << "drop" << args << Steps{{QTest::MouseRelease, Qt::LeftButton, Qt::NoModifier, where.truncated}};
        QTest::addRow("drag to %s", where.name)
            << "drag" << args
            << Steps{{QTest::MousePress, Qt::LeftButton, Qt::NoModifier, QPoint(50, 25)},
                     {QTest::MouseMove, Qt::NoButton, Qt::NoModifier, where.truncated}};
    }
    QTest::newRow("drag from to")
        << "drag"
        << QVariantMap{{QStringLiteral("from_x"), 7}, {QStringLiteral("from_y"), 9}, {QStringLiteral("to_x"), 95},
                       {QStringLiteral("to_y"), 44}}
        << Steps{{QTest::MousePress, Qt::LeftButton, Qt::NoModifier, QPoint(7, 9)},
                 {QTest::MouseMove, Qt::NoButton, Qt::NoModifier, QPoint(95, 44)}};
    QTest::newRow("press then drop")
        << "press" << QVariantMap{{x, 30}, {y, 30}}
        << Steps{{QTest::MousePress, Qt::LeftButton, Qt::NoModifier, QPoint(30, 30)}};
    QTest::newRow("shifted click")
        << "click" << QVariantMap{{QStringLiteral("objname"), QStringLiteral("shifted")}}
        << Steps{{QTest::MouseClick, Qt::LeftButton, Qt::NoModifier, QPoint(151, 86)}};
    QTest::newRow("shifted press")
        << "press" << QVariantMap{{QStringLiteral("objname"), QStringLiteral("shifted")}}
        << Steps{{QTest::MousePress, Qt::LeftButton, Qt::NoModifier, QPoint(150, 86)}};
    QTest::newRow("scaled dbclick")
        << "dbclick" << QVariantMap{{QStringLiteral("objname"), QStringLiteral("scaled")}}
        << Steps{{QTest::MouseDClick, Qt::LeftButton, Qt::NoModifier, QPoint(86, 239)}};
    QTest::newRow("scaled drag from to")
        << "drag"
        << QVariantMap{{QStringLiteral("objname"), QStringLiteral("scaled")}, {QStringLiteral("from_x"), 3},
                       {QStringLiteral("from_y"), 5}, {QStringLiteral("to_x"), 60}, {QStringLiteral("to_y"), 30}}
        << Steps{{QTest::MousePress, Qt::LeftButton, Qt::NoModifier, QPoint(15, 208)},
                 {QTest::MouseMove, Qt::NoButton, Qt::NoModifier, QPoint(100, 245)}};
}

// The control and the Qt Test library, run one after the other on the same scene from the same
// starting point, deliver the same events (type, button, buttons, modifiers, position, time
// stamp steps) and the items emit the same signals.
void TestInputPointer::pointerEventsMatchQtTest()
{
    QFETCH(QString, control);
    QFETCH(QVariantMap, args);
    QFETCH(Steps, steps);

    QVERIFY(Run(control, args));
    const QStringList viaControl = m_recorder->Lines();
    const QStringList targetViaControl = Take(m_target);
    const QStringList shiftedViaControl = Take(m_shifted);
    const QStringList scaledViaControl = Take(m_scaled);
    const bool heldViaControl = QTestPrivate::qtestMouseButtons != Qt::NoButton;
    QVERIFY(!viaControl.isEmpty());

    ReleaseHeldButtons();
    Park();
    Replay(steps);
    QCOMPARE(AsQtTestGivesThem(viaControl), AsQtTestGivesThem(m_recorder->Lines()));
    QCOMPARE(targetViaControl, Take(m_target));
    QCOMPARE(shiftedViaControl, Take(m_shifted));
    QCOMPARE(scaledViaControl, Take(m_scaled));
    QCOMPARE(heldViaControl, QTestPrivate::qtestMouseButtons != Qt::NoButton);
}

void TestInputPointer::missingWindowOrItemGivesFalseAndNoEvent_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<bool>("withDefaultWindow");
    QTest::addColumn<QStringList>("errors");

    const QString win = QStringLiteral("winobjname"), obj = QStringLiteral("objname");
    const QList<QPair<const char *, const char *>> handlers = {
        {"click", "UIRemoteControl::DoClick"}, {"dbclick", "UIRemoteControl::DoClick"},
        {"hover", "UIRemoteControl::DoHover"}, {"press", "UIRemoteControl::DoPress"},
        {"drag", "UIRemoteControl::DoDrag"},   {"drop", "UIRemoteControl::DoDrop"},
    };
    for (const auto &handler : handlers) {
        const QString control = QString::fromLatin1(handler.first);
        const QString caller = QString::fromLatin1(handler.second);
        QTest::addRow("%s unknown window", handler.first)
            << control << QVariantMap{{win, QStringLiteral("noSuchWindow")}} << false
            << QStringList{caller + QStringLiteral(", can not find QWindow noSuchWindow")};
        // An empty window name is refused even when a default window exists.
        QTest::addRow("%s empty window name", handler.first)
            << control << QVariantMap{{win, QString()}} << true
            << QStringList{caller + QStringLiteral(", can not find QWindow ")};
        QTest::addRow("%s missing item", handler.first)
            << control << QVariantMap{{obj, QStringLiteral("ghost")}} << false
            << QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject ghost"),
                           caller + QStringLiteral(", can not find QQuickItem")};
        QTest::addRow("%s missing item under parent", handler.first)
            << control << QVariantMap{{obj, QStringLiteral("target")}, {QStringLiteral("parobjname"), QStringLiteral("panel")}}
            << true
            << QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject panel.target"),
                           caller + QStringLiteral(", can not find QQuickItem")};
        QTest::addRow("%s object that is no item", handler.first)
            << control << QVariantMap{{obj, QStringLiteral("settings")}} << false
            << QStringList{caller + QStringLiteral(", can not find QQuickItem")};
    }
}

void TestInputPointer::missingWindowOrItemGivesFalseAndNoEvent()
{
    QFETCH(QString, control);
    QFETCH(QVariantMap, args);
    QFETCH(bool, withDefaultWindow);
    QFETCH(QStringList, errors);

    QVERIFY(!Run(control, args, withDefaultWindow ? m_scene->window : nullptr));
    QCOMPARE(TestSupport::ErrorLines(), errors);
    QCOMPARE(m_recorder->Lines(), QStringList());
    QCOMPARE(Take(m_target), QStringList());
    QCOMPARE(Take(m_shifted), QStringList());
    QCOMPARE(Take(m_scaled), QStringList());
    QCOMPARE(QTestPrivate::qtestMouseButtons, Qt::MouseButtons(Qt::NoButton));
}

void TestInputPointer::unknownWindowNameFallsBackToDefaultWindow()
{
    QVERIFY(Run(QStringLiteral("click"), {{QStringLiteral("winobjname"), QStringLiteral("elsewhere")}},
                m_scene->window));
    QCOMPARE(TestSupport::ErrorLines(), QStringList());
    QVERIFY(Take(m_target).contains(Area("clicked", 1, 0, 0, 51, 26)));
}

void TestInputPointer::handlersTraceEnterAndLeave_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QStringList>("lines");

    const QVariantMap point{{QStringLiteral("x"), 5}, {QStringLiteral("y"), 6}};
    const QVariantMap fromTo{{QStringLiteral("from_x"), 1}, {QStringLiteral("from_y"), 2},
                             {QStringLiteral("to_x"), 3}, {QStringLiteral("to_y"), 4}};
    QTest::newRow("click") << "click" << QVariantMap() << Scoped("UIRemoteControl::DoClick", {"ClickItem"});
    QTest::newRow("dbclick") << "dbclick" << point << Scoped("UIRemoteControl::DoClick", {"ClickItem"});
    QTest::newRow("hover centre") << "hover" << QVariantMap()
                                  << Scoped("UIRemoteControl::DoHover", {"HoverOnItemCenter"});
    QTest::newRow("hover point") << "hover" << point << Scoped("UIRemoteControl::DoHover", {"HoverOnPointInItem"});
    QTest::newRow("drag from to") << "drag" << fromTo << Scoped("UIRemoteControl::DoDrag", {"DragItem"});
    QTest::newRow("drag from centre")
        << "drag" << point << Scoped("UIRemoteControl::DoDrag", {"DragItemFromCenter", "DragItem"});
    QTest::newRow("drop") << "drop" << QVariantMap() << Scoped("UIRemoteControl::DoDrop", {"DropItem"});
    QTest::newRow("press") << "press" << point << Scoped("UIRemoteControl::DoPress", {"PressItem"});
    QTest::newRow("click on missing item")
        << "click" << QVariantMap{{QStringLiteral("objname"), QStringLiteral("ghost")}}
        << Scoped("UIRemoteControl::DoClick", {});
    QTest::newRow("drop into missing window")
        << "drop" << QVariantMap{{QStringLiteral("winobjname"), QStringLiteral("ghost")}}
        << Scoped("UIRemoteControl::DoDrop", {});
}

void TestInputPointer::handlersTraceEnterAndLeave()
{
    QFETCH(QString, control);
    QFETCH(QVariantMap, args);
    QFETCH(QStringList, lines);

    Run(control, args);
    QCOMPARE(EnterLeaveLines(), lines);
    for (const LogRecorder::Line &line : LogRecorder::Lines()) {
        const QString text = QString::fromStdString(line.text);
        if (text.endsWith(QLatin1String(", Enter"))) {
            QCOMPARE(line.severity, 5);
            QVERIFY(line.line > 0);
            QVERIFY2(QString::fromStdString(line.file).endsWith(QLatin1String("src/controls/PointerControls.cpp")), line.file.c_str());
        } else if (text.endsWith(QLatin1String(", Leave"))) {
            QCOMPARE(line.severity, 5);
            QCOMPARE(line.line, 0);
        }
    }
}

void TestInputPointer::repliesOverTcp()
{
    const quint16 port = TestSupport::FreePort();
    UIRemoteControl control(m_scene->root, nullptr, port, nullptr);
    QVERIFY(control.IsListening());
    TestSupport::ReplyClient client;
    client.ConnectTo(port);
    QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);

    const QJsonObject ok{{QStringLiteral("result"), true}};
    const QJsonObject failed{{QStringLiteral("result"), false}};

    client.Send(R"J({"click": {"objname": "target", "winobjname": "pointerWindow", "clickbtn": "RIGHT",)J"
                R"J( "keyboardModifier": 33554432}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 1, 5000);
    QCOMPARE(client.replies.at(0), ok);
    QCOMPARE(Take(m_target), (QStringList{QStringLiteral("entered"), Area("pressed", 2, 2, kShift, 51, 26),
                                          Area("released", 2, 0, kShift, 51, 26), Area("clicked", 2, 0, kShift, 51, 26)}));

    client.Send(R"J({"dbclick": {"objname": "target", "winobjname": "pointerWindow", "x": 20, "y": 10}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 2, 5000);
    QCOMPARE(client.replies.at(1), ok);
    QVERIFY(Take(m_target).contains(Area("doubleClicked", 1, 1, 0, 20, 10)));

    client.Send(R"J({"drag": {"objname": "target", "winobjname": "pointerWindow", "x": 80, "y": 40}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 3, 5000);
    QCOMPARE(client.replies.at(2), ok);
    QVERIFY(QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());

    client.Send(R"J({"drop": {"objname": "target", "winobjname": "pointerWindow", "x": 80, "y": 40}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 4, 5000);
    QCOMPARE(client.replies.at(3), ok);
    QVERIFY(!QQmlProperty::read(m_target, QStringLiteral("pressed")).toBool());
    QCOMPARE(Take(m_target), (QStringList{Area("moved", 0, 0, 0, 50, 25), Area("pressed", 1, 1, 0, 50, 25),
                                          Area("moved", 0, 1, 0, 80, 40), Area("released", 1, 0, 0, 80, 40),
                                          Area("clicked", 1, 0, 0, 80, 40)}));

    m_recorder->events.clear();
    client.Send(R"J({"click": {"objname": "ghost", "winobjname": "pointerWindow"}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 5, 5000);
    QCOMPARE(client.replies.at(4), failed);
    client.Send(R"J({"hover": {"objname": "target", "winobjname": "nowhere"}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 6, 5000);
    QCOMPARE(client.replies.at(5), failed);
    QCOMPARE(m_recorder->Lines(), QStringList());
    QCOMPARE(client.malformed, 0);
}

QTEST_MAIN(TestInputPointer)
#include "tst_input_pointer.moc"
