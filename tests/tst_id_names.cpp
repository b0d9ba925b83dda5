// Names from ids (IdNames): the existing tree is named once, later objects as they come, and a
// call with nothing new created touches nothing.

#include "IdNames.h"
#include "SceneTree.h"

#include <QtTest>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QThread>

#include <memory>

namespace {

const char kScene[] = R"(
import QtQuick 2.15
Item {
    id: top
    property alias rows: list.model
    Item { id: plain }
    Item { id: named; objectName: "ownName" }
    ListView {
        id: list
        width: 100; height: 400
        model: 2
        delegate: Item { id: row; width: 100; height: 20 }
    }
    Component { id: later; Item { id: lateItem } }
    function makeLater() { return later.createObject(top) }
}
)";

QStringList NamesOf(const QList<QQuickItem *> &items)
{
    QStringList names;
    for (QQuickItem *item : items)
        names.append(item->objectName());
    return names;
}

} // namespace

class TestIdNames : public QObject {
    Q_OBJECT
private:
    QQmlEngine engine;
    std::unique_ptr<QObject> root;

    QObject *Child(const QString &name) { return root->findChild<QObject *>(name); }

    QList<QQuickItem *> Rows()
    {
        auto *list = qobject_cast<QQuickItem *>(Child(QStringLiteral("list")));
        QList<QQuickItem *> rows;
        for (QQuickItem *item : list->property("contentItem").value<QQuickItem *>()->childItems()) {
            if (SceneTree::QmlId(item) == QLatin1String("row"))
                rows.append(item);
        }
        return rows;
    }

private slots:
    void init()
    {
        QQmlComponent component(&engine);
        component.setData(kScene, QUrl(QStringLiteral("file:///id_names/scene.qml")));
        root.reset(component.create());
        QVERIFY2(root, qPrintable(component.errorString()));
        IdNames::Enable(root.get());
    }
    void cleanup() { root.reset(); }

    void existingObjectsTakeTheirIds()
    {
        QCOMPARE(root->objectName(), QStringLiteral("top"));
        QVERIFY(Child(QStringLiteral("plain")));
        QVERIFY(Child(QStringLiteral("list")));
        QCOMPARE(NamesOf(Rows()), QStringList({"row", "row"}));
    }

    void ownNamesAreKept()
    {
        QVERIFY(Child(QStringLiteral("ownName")));
        QVERIFY(!Child(QStringLiteral("named")));
    }

    void objectsCreatedLaterAreNamedByTheNextCall()
    {
        QVariant made;
        QVERIFY(QMetaObject::invokeMethod(root.get(), "makeLater", Q_RETURN_ARG(QVariant, made)));
        QObject *late = root->findChildren<QQuickItem *>().last();
        QCOMPARE(late->objectName(), QString());
        IdNames::NameNewObjects();
        QCOMPARE(late->objectName(), QStringLiteral("lateItem"));
    }

    void delegatesCreatedLaterAreNamed()
    {
        root->setProperty("rows", 5);
        QTRY_COMPARE_WITH_TIMEOUT(Rows().size(), 5, 5000);
        QCOMPARE(NamesOf(Rows()).count(QString()), 5);
        IdNames::NameNewObjects();
        QCOMPARE(NamesOf(Rows()), QStringList({"row", "row", "row", "row", "row"}));
    }

    // Nothing created since the last call: nothing is visited, so a name taken away stays away
    // (a walk of the tree would give it back).
    void nothingNewMeansNoWalk()
    {
        IdNames::NameNewObjects();
        QObject *plain = Child(QStringLiteral("plain"));
        plain->setObjectName(QString());
        IdNames::NameNewObjects();
        QCOMPARE(plain->objectName(), QString());
    }

    void objectsGoneBeforeTheCallAreSkipped()
    {
        QVariant made;
        QVERIFY(QMetaObject::invokeMethod(root.get(), "makeLater", Q_RETURN_ARG(QVariant, made)));
        delete root->findChildren<QQuickItem *>().last();
        IdNames::NameNewObjects(); // would read freed memory if the object were still listed
    }

    void objectsOfOtherThreadsAreLeftAlone()
    {
        QObject *made = nullptr;
        QThread *thread = QThread::create([&made] { made = new QObject; });
        thread->start();
        QVERIFY(thread->wait(10000));
        IdNames::NameNewObjects();
        QCOMPARE(made->objectName(), QString());
        delete made;
        delete thread;
    }
};

QTEST_MAIN(TestIdNames)
#include "tst_id_names.moc"
