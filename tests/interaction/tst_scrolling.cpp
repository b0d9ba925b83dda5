// Acting as a person would where views scroll and popups stack: rows a view has not created yet
// are scrolled to, items out of their Flickable's visible area are scrolled into view, wheel
// notches add up one by one, a combo box's list in a modal dialog takes its clicks, tool tips and
// the revealed items of swiped delegates have paths, and a nameless window shows its name.

#include "Session.h"

#include <QJsonArray>

using Interaction::Failed;
using Interaction::Ok;
using Interaction::SameReply;
using Interaction::Session;

namespace {

QVariantMap Act(const QString &objname)
{
    return {{"objname", objname}, {"winobjname", "scrollWindow"}, {"actionable", true}};
}

// The nodes of a tree reply, depth first.
void Nodes(const QJsonObject &node, QList<QJsonObject> &all)
{
    all.append(node);
    for (const QJsonValue &child : node.value(QStringLiteral("children")).toArray())
        Nodes(child.toObject(), all);
}

} // namespace

class TestScrolling : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_session = std::make_unique<Session>(QStringLiteral("scrolling.qml"));
        QVERIFY(m_session->Ready());
        QVERIFY(QTest::qWaitForWindowExposed(m_session->scene.window));
    }
    void cleanup() { m_session.reset(); }

    void rowsBelowAndAboveAreScrolledTo()
    {
        const qreal start = m_session->Get(QStringLiteral("longList"), "contentY").toReal();
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Act(QStringLiteral("{ItemDelegate text=\"Row 95\"}"))), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("longList"), "lastClicked").toString(), QStringLiteral("Row 95"));
        QVERIFY(m_session->Get(QStringLiteral("longList"), "contentY").toReal() > start); // left where it was found
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Act(QStringLiteral("longList.{ItemDelegate text=\"Row 2\"}"))), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("longList"), "lastClicked").toString(), QStringLiteral("Row 2"));
        const QJsonObject text = m_session->Send(QStringLiteral("getpro"), {{"objname", "{ItemDelegate text=\"Row 70\"}"}, {"property", "text"}});
        QCOMPARE(text.value(QStringLiteral("value")).toString(), QStringLiteral("Row 70"));
    }

    void rowsThatNeverExistLeaveTheViewsAlone()
    {
        const qreal start = m_session->Get(QStringLiteral("longList"), "contentY").toReal();
        const QJsonObject reply = m_session->Send(QStringLiteral("getpro"), {{"objname", "longList.{ItemDelegate text=\"Row 100\"}"}, {"property", "text"}});
        QCOMPARE(reply.value(QStringLiteral("result")).toBool(), false);
        QVERIFY(reply.value(QStringLiteral("error")).toString().startsWith(QStringLiteral("no object matches")));
        QCOMPARE(m_session->Get(QStringLiteral("longList"), "contentY").toReal(), start);
    }

    void anItemOutOfViewIsScrolledIntoView()
    {
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Act(QStringLiteral("farButton"))), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("farButton"), "presses").toInt(), 1);
        QVERIFY(m_session->Get(QStringLiteral("flick"), "contentY").toReal() > 0);
    }

    void wheelNotchesAddUpOneByOne()
    {
        QList<qreal> moved;
        for (const int notches : {1, 3}) {
            m_session->Set(QStringLiteral("wheelList"), "contentY", 0);
            QVERIFY(SameReply(m_session->Send(QStringLiteral("wheel"), {{"objname", "wheelList"}, {"dy", -15 * notches}}), Ok()));
            QVERIFY(SameReply(m_session->Send(QStringLiteral("waitidle"), {{"winobjname", "scrollWindow"}}), Ok()));
            moved.append(m_session->Get(QStringLiteral("wheelList"), "contentY").toReal());
        }
        QVERIFY2(moved.at(0) > 0, qPrintable(QString::number(moved.at(0))));
        // Three notches go three times as far as one: not less (one flick), not more (a fling).
        QVERIFY2(qAbs(moved.at(1) - 3 * moved.at(0)) <= 0.1 * 3 * moved.at(0),
                 qPrintable(QStringLiteral("one notch %1, three notches %2").arg(moved.at(0)).arg(moved.at(1))));
    }

    void comboListInAModalDialogTakesTheClick()
    {
        QVERIFY(SameReply(m_session->Send(QStringLiteral("invoke"), {{"objname", "dialog"}, {"method", "open"}}), Ok()));
        QVERIFY(SameReply(m_session->Send(QStringLiteral("waitprop"), {{"objname", "dialog"}, {"property", "opened"}, {"value", true}}),
                          QJsonObject{{"result", true}, {"value", true}}));
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Act(QStringLiteral("combo"))), Ok()));
        QVERIFY(SameReply(m_session->Send(QStringLiteral("waitprop"), {{"objname", "combo"}, {"property", "popup.opened"}, {"value", true}}),
                          QJsonObject{{"result", true}, {"value", true}}));
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Act(QStringLiteral("combo.{ItemDelegate text=\"Seventh\"}"))), Ok()));
        QCOMPARE(m_session->Get(QStringLiteral("combo"), "currentIndex").toInt(), 6);
        // The dialog still covers what lies outside it.
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Act(QStringLiteral("wheelList"))),
                          Failed(QStringLiteral("the item wheelList is covered by the modal popup dialog"))));
    }

    void aShownToolTipHasAPath()
    {
        QVERIFY(SameReply(m_session->Send(QStringLiteral("setpro"), {{"objname", "tipButton"}, {"property", "ToolTip.visible"}, {"propval", true}}), Ok()));
        QVERIFY(SameReply(m_session->Send(QStringLiteral("waitprop"), {{"objname", "tipButton"}, {"property", "ToolTip.toolTip.opened"}, {"value", true}}),
                          QJsonObject{{"result", true}, {"value", true}}));
        QList<QJsonObject> nodes;
        Nodes(m_session->Send(QStringLiteral("tree"), {}).value(QStringLiteral("value")).toObject(), nodes);
        QString path;
        for (const QJsonObject &node : nodes) {
            if (node.value(QStringLiteral("type")).toString() == QLatin1String("ToolTip"))
                path = node.value(QStringLiteral("path")).toString();
        }
        QVERIFY(!path.isEmpty());
        QCOMPARE(m_session->Send(QStringLiteral("getpro"), {{"objname", path}, {"property", "text"}}).value(QStringLiteral("value")).toString(),
                 QStringLiteral("A tip"));
        QCOMPARE(m_session->Send(QStringLiteral("getpro"), {{"objname", "{ToolTip}"}, {"property", "text"}}).value(QStringLiteral("value")).toString(),
                 QStringLiteral("A tip"));
    }

    void theRevealedItemOfASwipedDelegateHasAPath()
    {
        QVERIFY(SameReply(m_session->Send(QStringLiteral("swipe"), {{"objname", "swipeList.{SwipeDelegate text=\"First\"}"}, {"from", "right"}, {"to", "left"}}), Ok()));
        QVERIFY(SameReply(m_session->Send(QStringLiteral("waitidle"), {{"winobjname", "scrollWindow"}}), Ok()));
        const QJsonArray found = m_session->Send(QStringLiteral("find"), {{"property", "text"}, {"value", "Remove"}}).value(QStringLiteral("value")).toArray();
        QCOMPARE(found.size(), 1);
        QVERIFY(found.at(0).isString());
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), Act(found.at(0).toString())), Ok()));
        QTRY_COMPARE(m_session->Get(QStringLiteral("swipeList"), "count").toInt(), 2);
    }

    void aNamelessWindowShowsTheNameThatFindsIt()
    {
        QList<QJsonObject> nodes;
        Nodes(m_session->Send(QStringLiteral("tree"), {}).value(QStringLiteral("value")).toObject(), nodes);
        QStringList windows;
        for (const QJsonObject &node : nodes) {
            if (node.value(QStringLiteral("type")).toString() == QLatin1String("Window"))
                windows.append(node.value(QStringLiteral("label")).toString());
        }
        QCOMPARE(windows, QStringList{QStringLiteral("namelessTop")});
        QVERIFY(SameReply(m_session->Send(QStringLiteral("click"), {{"objname", "namelessTop"}, {"winobjname", "namelessTop"}, {"actionable", true}}), Ok()));
    }

private:
    std::unique_ptr<Session> m_session;
};

QTEST_MAIN(TestScrolling)
#include "tst_scrolling.moc"
