// Object location: the depth-first name path search with its route diagnostics, and the
// resolution of a message's naming keys ("objname", "parobjname", "winobjname", "method") to
// an object, a window and a visual item.

#include "lookup_fixture.h"

#include <QGuiApplication>
#include <QPointer>
#include <QQuickItem>
#include <QScopedPointer>
#include <QWindow>
#include <algorithm>
#include <QtTest>

#include <memory>

using LookupLog::AddressField;
using LookupLog::ClassOf;
using LookupLog::SearchTrace;
using LookupLog::Snapshot;
using LookupWire::Reply;
using LookupWire::Request;

class TestLookup : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<LookupScene> scene;

    QQuickItem *Item(const char *name) const { return scene->Named<QQuickItem>(QString::fromLatin1(name)); }
    // The unnamed Rectangle below "inner" (marker "firstUnnamed").
    QQuickItem *UnnamedRectangle() const { return Item("inner")->childItems().value(0); }
    // The child item of parent with this name (delegates have no QObject parent to search).
    static QQuickItem *ChildItem(QQuickItem *parent, const char *name)
    {
        for (QQuickItem *child : parent->childItems()) {
            if (child->objectName() == QLatin1String(name))
                return child;
        }
        return nullptr;
    }
    static QStringList Names(const char *dotted)
    {
        return QString::fromLatin1(dotted).split(QLatin1Char('.'), Qt::KeepEmptyParts);
    }

private slots:
    void initTestCase()
    {
        scene.reset(new LookupScene);
        QVERIFY(scene->window);
        QCOMPARE(scene->window->objectName(), QStringLiteral("mainWindow"));
        QVERIFY(Item("okButton"));
        QVERIFY(UnnamedRectangle());
        QCOMPARE(UnnamedRectangle()->property("marker").toString(), QStringLiteral("firstUnnamed"));
    }
    void cleanupTestCase() { scene.reset(); }
    void init() { LogRecorder::Clear(); }

    // ----- path search -------------------------------------------------------------------

    void emptyNameListReturnsStartObjectEvenWithoutName()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QQuickItem *start = UnnamedRectangle();
        QVERIFY(start->objectName().isEmpty());
        RouteStack route;
        QCOMPARE(control.FindQMLObject(start, QStringList(), &route), static_cast<QObject *>(start));
        QCOMPARE(route.snapshots, QStringList{QStringLiteral("target found: [%1]").arg(ClassOf(start))});
        QVERIFY(route.route.isEmpty());
        // The same with a named start object: its name is not needed.
        RouteStack named;
        QCOMPARE(control.FindQMLObject(Item("okButton"), QStringList(), &named), static_cast<QObject *>(Item("okButton")));
        QCOMPARE(named.snapshots, QStringList{QStringLiteral("target found: [okButton]")});
        // Without a route the result is the same and nothing breaks.
        QCOMPARE(control.FindQMLObject(start, QStringList(), nullptr), static_cast<QObject *>(start));
    }

    void emptySegmentIsConsumedByFirstUnnamedObjectOnDescent()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QQuickItem *deep = Item("deep");
        QQuickItem *unnamed = deep->parentItem();
        QVERIFY(unnamed->objectName().isEmpty());
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"getpro": {"objname": "gapHost..deep", "property": "objectName"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("deep")));
        // "wrapper" is passed through; the unnamed item below it takes the empty segment.
        QCOMPARE(TestSupport::LogTexts(3),
                 QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView] > [gapHost] > [wrapper] > [%1] > [deep]")
                                          .arg(ClassOf(unnamed)))});
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void namedObjectDoesNotConsumeEmptySegment()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        // After "gapHost" the empty segment passes over "wrapper" and is taken by the unnamed
        // item below it, so "wrapper" can no longer complete the path.
        QCOMPARE(control.FindQMLObject(scene->root, Names("gapHost..wrapper"), nullptr), static_cast<QObject *>(nullptr));
        QCOMPARE(control.FindQMLObject(scene->root, Names("gapHost.wrapper..deep"), nullptr), static_cast<QObject *>(Item("deep")));
    }

    void sameNamedSiblingsEarlierOneWins()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        const QList<QQuickItem *> twins = Item("twins")->childItems();
        QCOMPARE(twins.size(), 2);
        QCOMPARE(twins.at(0)->objectName(), twins.at(1)->objectName());
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"getpro": {"parobjname": "twins", "objname": "twin", "property": "order"}})"), value));
        QCOMPARE(value.toInt(), 1);
        QVERIFY(control.controlObject(Request(R"({"getpro": {"objname": "twins.twin.shared", "property": "order"}})"), value));
        QCOMPARE(value.toInt(), 1);
    }

    void laterSameNamedSiblingReachedWhenEarlierSubtreeFails()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QQuickItem *secondTwin = Item("twins")->childItems().at(1);
        QQuickItem *secondOnly = Item("secondOnly");
        QCOMPARE(secondOnly->parentItem(), secondTwin);
        RouteStack route;
        QCOMPARE(control.FindQMLObject(scene->root, Names("twins.twin.secondOnly"), &route), static_cast<QObject *>(secondOnly));
        QCOMPARE(route.snapshots,
                 QStringList{QStringLiteral("target found: [mainWindow] > [mainView] > [twins] > [twin] > [secondOnly]")});
        QVERIFY(route.route.isEmpty());
    }

    void repeaterDelegateFoundThroughRepeaterParentItem()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QQuickItem *repeater = Item("rowRepeater");
        QVERIFY(repeater);
        // The delegates are not among the repeater's own children.
        for (QObject *child : repeater->children())
            QVERIFY2(!qobject_cast<QQuickItem *>(child), qPrintable(child->objectName()));
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"getpro": {"parobjname": "rowRepeater", "objname": "cell1", "property": "cellIndex"}})"), value));
        QCOMPARE(value.toInt(), 1);
        // The repeater branch does not list the parent item in the route.
        QCOMPARE(TestSupport::LogTexts(3),
                 QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView] > [repeaterRow] > [rowRepeater] > [cell1]"))});

        RouteStack route;
        QObject *found = control.FindQMLObjectForRepeater(repeater, QStringList{QStringLiteral("cell2")}, &route);
        QVERIFY(found);
        QCOMPARE(found->property("cellIndex").toInt(), 2);
        QCOMPARE(route.snapshots, QStringList{QStringLiteral("target found: [cell2]")});
    }

    void repeaterWithoutChildrenFindsDelegatesThroughParentItem()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QQuickItem *repeater = Item("bareRepeater");
        QVERIFY(repeater);
        QVERIFY(repeater->children().isEmpty());
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"getpro": {"objname": "bareRepeater.bareCell1", "property": "cellIndex"}})"), value));
        QCOMPARE(value, QVariant(1));
        QCOMPARE(TestSupport::LogTexts(3),
                 QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView] > [bareColumn] > [bareRepeater] > [bareCell1]"))});
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void repeaterBranchSkipsSiblingRepeaters()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QQuickItem *rowRepeater = Item("rowRepeater");
        QQuickItem *otherRepeater = Item("otherRepeater");
        QObject hiddenInOther(otherRepeater);
        hiddenInOther.setObjectName(QStringLiteral("hiddenInOtherRepeater"));
        QObject hiddenInRow(rowRepeater);
        hiddenInRow.setObjectName(QStringLiteral("hiddenInRowRepeater"));
        const QStringList inOther{QStringLiteral("hiddenInOtherRepeater")};
        const QStringList inRow{QStringLiteral("hiddenInRowRepeater")};

        // Neither the sibling repeater nor the repeater itself is entered from the parent item.
        QCOMPARE(control.FindQMLObjectForRepeater(rowRepeater, inOther, nullptr), static_cast<QObject *>(nullptr));
        QCOMPARE(control.FindQMLObjectForRepeater(otherRepeater, inRow, nullptr), static_cast<QObject *>(nullptr));
        QCOMPARE(control.FindQMLObject(rowRepeater, inOther, nullptr), static_cast<QObject *>(nullptr));
        // The sibling repeater's delegates are ordinary items of the parent and are found.
        QCOMPARE(control.FindQMLObjectForRepeater(rowRepeater, QStringList{QStringLiteral("otherCell1")}, nullptr),
                 static_cast<QObject *>(ChildItem(Item("repeaterRow"), "otherCell1")));
        QVERIFY(ChildItem(Item("repeaterRow"), "otherCell1"));
        // Each hidden object is still found from its own repeater's children.
        QCOMPARE(control.FindQMLObject(otherRepeater, inOther, nullptr), static_cast<QObject *>(&hiddenInOther));
        QCOMPARE(control.FindQMLObject(scene->root, Names("repeaterRow.hiddenInRowRepeater"), nullptr),
                 static_cast<QObject *>(&hiddenInRow));
    }

    void viewDelegateFoundThroughContentItem_data()
    {
        QTest::addColumn<QString>("view");
        QTest::addColumn<QString>("delegate");
        QTest::newRow("ListView") << "listView" << "listDelegate1";
        QTest::newRow("GridView") << "gridView" << "gridDelegate2";
        QTest::newRow("QML-derived ListView") << "derivedList" << "derivedDelegate1";
    }
    void viewDelegateFoundThroughContentItem()
    {
        QFETCH(QString, view);
        QFETCH(QString, delegate);
        LookupProbe control(scene->root, scene->context(), nullptr);
        auto *viewItem = scene->Named<QQuickItem>(view);
        QVERIFY(viewItem);
        QVariantMap args{{QStringLiteral("parobjname"), view},
                         {QStringLiteral("objname"), delegate},
                         {QStringLiteral("property"), QStringLiteral("objectName")}};
        QVariant value;
        QVERIFY(control.controlObject(QVariantMap{{QStringLiteral("getpro"), args}}, value));
        QCOMPARE(value.toString(), delegate);
        QCOMPARE(TestSupport::LogTexts(3),
                 QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView] > [%1] > [%2]").arg(view, delegate))});
        // Delegates have no QObject parent: only the content item's child items lead to them.
        QVERIFY(!scene->root->findChild<QObject *>(delegate));
        RouteStack route;
        QObject *found = control.FindQMLObjectForFlickable(viewItem, QStringList{delegate}, &route);
        QVERIFY(found);
        QCOMPARE(found->objectName(), delegate);
        QCOMPARE(route.snapshots, QStringList{QStringLiteral("target found: [%1]").arg(delegate)});
    }

    void flickableItemsFoundThroughContentItemAndChildren()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        auto *flickable = Item("flickable");
        auto *contentItem = qvariant_cast<QQuickItem *>(flickable->property("contentItem"));
        QVERIFY(contentItem);
        // An item placed in the content item by C++ has no QObject parent at all.
        QScopedPointer<QQuickItem> injected(new QQuickItem);
        injected->setObjectName(QStringLiteral("injectedFlickItem"));
        injected->setParentItem(contentItem);
        QVERIFY(!injected->parent());

        RouteStack route;
        QCOMPARE(control.FindQMLObject(scene->root, Names("flickable.injectedFlickItem"), &route),
                 static_cast<QObject *>(injected.data()));
        QCOMPARE(route.snapshots, QStringList{QStringLiteral("target found: [mainWindow] > [mainView] > [flickable] > [injectedFlickItem]")});
        // A declared child is a QObject child of the Flickable: the plain walk finds it.
        RouteStack declared;
        QCOMPARE(control.FindQMLObject(scene->root, Names("flickable.flickChild"), &declared),
                 static_cast<QObject *>(Item("flickChild")));
        QCOMPARE(declared.snapshots, QStringList{QStringLiteral("target found: [mainWindow] > [mainView] > [flickable] > [flickChild]")});
    }

    void nonFlickableParentDoesNotSearchChildItems()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        // Below an ordinary item, an item without a QObject parent is out of the search's reach.
        QScopedPointer<QQuickItem> orphan(new QQuickItem);
        orphan->setObjectName(QStringLiteral("orphanUnderInner"));
        orphan->setParentItem(Item("inner"));
        QCOMPARE(control.FindQMLObject(scene->root, Names("panel.orphanUnderInner"), nullptr), static_cast<QObject *>(nullptr));
        QCOMPARE(control.FindQMLObject(Item("panel"), QStringList{QStringLiteral("orphanUnderInner")}, nullptr),
                 static_cast<QObject *>(nullptr));
        // The same item below a flickable's content item is found.
        orphan->setParentItem(qvariant_cast<QQuickItem *>(Item("flickable")->property("contentItem")));
        QCOMPARE(control.FindQMLObject(scene->root, QStringList{QStringLiteral("orphanUnderInner")}, nullptr),
                 static_cast<QObject *>(orphan.data()));
    }

    void qmlDerivedListViewCountsAsListView()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QQuickItem *derived = Item("derivedList");
        const QString className = ClassOf(derived);
        QVERIFY2(className.startsWith(QLatin1String("QQuickListView_QML_")), qPrintable(className));
        QVERIFY(LookupProbe::isDerivedFrom(derived, QStringList{QStringLiteral("QQuickListView")}));
        // Only a substring test matches the generated name itself.
        QVERIFY(LookupProbe::isDerivedFrom(derived, QStringList{QStringLiteral("QQuickListView_QML")}));
        QVERIFY(!LookupProbe::isDerivedFrom(Item("listView"), QStringList{QStringLiteral("QQuickListView_QML")}));
        // So its delegates are searched like those of a plain ListView.
        QVERIFY(!scene->root->findChild<QObject *>(QStringLiteral("derivedDelegate0")));
        QObject *found = control.FindQMLObject(derived, QStringList{QStringLiteral("derivedDelegate0")}, nullptr);
        QVERIFY(found);
        QCOMPARE(found->objectName(), QStringLiteral("derivedDelegate0"));
    }

    void isDerivedFromIsCaseSensitiveSubstringOverClassChain()
    {
        QQuickItem *button = Item("okButton");
        QVERIFY(ClassOf(button).startsWith(QLatin1String("QQuickRectangle_QML_")));
        QVERIFY(LookupProbe::isDerivedFrom(button, QStringList{QStringLiteral("QQuickItem")}));  // base class
        QVERIFY(LookupProbe::isDerivedFrom(button, QStringList{QStringLiteral("Rectangle")}));   // substring
        QVERIFY(LookupProbe::isDerivedFrom(button, QStringList{QStringLiteral("QObject")}));     // end of the chain
        QVERIFY(!LookupProbe::isDerivedFrom(button, QStringList{QStringLiteral("qquickrectangle")}));
        QVERIFY(!LookupProbe::isDerivedFrom(button, QStringList{QStringLiteral("QQuickFlickable"), QStringLiteral("QQuickListView")}));
        QVERIFY(LookupProbe::isDerivedFrom(button, QStringList{QStringLiteral("QQuickFlickable"), QStringLiteral("Rect")}));
        QVERIFY(!LookupProbe::isDerivedFrom(button, QStringList()));
        QVERIFY(!LookupProbe::isDerivedFrom(nullptr, QStringList{QStringLiteral("QObject")}));
        QVERIFY(LookupProbe::isDerivedFrom(Item("gridView"), QStringList{QStringLiteral("QQuickFlickable")}));
    }

    void objectLabelIsNameElseClassNameElseEmpty()
    {
        QCOMPARE(LookupProbe::GetObjectOrClassName(Item("okButton")), QStringLiteral("okButton"));
        QQuickItem *unnamed = UnnamedRectangle();
        QCOMPARE(LookupProbe::GetObjectOrClassName(unnamed), ClassOf(unnamed));
        QVERIFY(ClassOf(unnamed).startsWith(QLatin1String("QQuickRectangle_QML_")));
        QObject plain;
        QCOMPARE(LookupProbe::GetObjectOrClassName(&plain), QStringLiteral("QObject"));
        QCOMPARE(LookupProbe::GetObjectOrClassName(nullptr), QString());
    }

    void classNameNeverMatchesPathSegment()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        const QString className = ClassOf(UnnamedRectangle());
        QCOMPARE(control.FindQMLObject(scene->root, QStringList{QStringLiteral("panel"), className}, nullptr),
                 static_cast<QObject *>(nullptr));
        QCOMPARE(control.FindQMLObject(scene->root, QStringList{QStringLiteral("QQuickRootItem")}, nullptr),
                 static_cast<QObject *>(nullptr));
    }

    void pathNeedNotListEveryAncestor()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        RouteStack route;
        QCOMPARE(control.FindQMLObject(scene->root, Names("mainView.label"), &route), static_cast<QObject *>(Item("label")));
        QCOMPARE(route.snapshots,
                 QStringList{QStringLiteral("target found: [mainWindow] > [mainView] > [panel] > [inner] > [%1] > [label]")
                                 .arg(ClassOf(UnnamedRectangle()))});
        QCOMPARE(control.FindQMLObject(scene->root, Names("label"), nullptr), static_cast<QObject *>(Item("label")));
        // Names must still appear in descent order.
        QCOMPARE(control.FindQMLObject(scene->root, Names("label.mainView"), nullptr), static_cast<QObject *>(nullptr));
    }

    void searchTraceShowsParentAddressNameAndRemainingNames()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QCOMPARE(control.FindQMLObject(scene->root, Names("mainView.okButton"), nullptr), static_cast<QObject *>(Item("okButton")));
        const QStringList trace = SearchTrace();
        QVERIFY(trace.size() >= 3);
        QCOMPARE(trace.first(), QStringLiteral("UIRemoteControl::FindQMLObject, pParent = [%1], name = [mainWindow], objNames = [mainView.okButton]")
                                    .arg(AddressField(scene->root)));
        // The last visit is the target, with the parent's name already consumed from the list.
        QCOMPARE(trace.last(), QStringLiteral("UIRemoteControl::FindQMLObject, pParent = [%1], name = [okButton], objNames = [okButton]")
                                   .arg(AddressField(Item("okButton"))));
        const QString mainViewLine = QStringLiteral("UIRemoteControl::FindQMLObject, pParent = [%1], name = [mainView], objNames = [mainView.okButton]")
                                         .arg(AddressField(Item("mainView")));
        QVERIFY(trace.contains(mainViewLine));
        // Unnamed objects are listed under their class name.
        const QString rootItemLine = QStringLiteral("UIRemoteControl::FindQMLObject, pParent = [%1], name = [QQuickRootItem], objNames = [mainView.okButton]")
                                         .arg(AddressField(scene->window->contentItem()));
        QCOMPARE(trace.at(1), rootItemLine);
    }

    void nullParentTraceShowsZeroAddressAndEmptyName()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        RouteStack route;
        QCOMPARE(control.FindQMLObject(nullptr, Names("a.b"), &route), static_cast<QObject *>(nullptr));
        QCOMPARE(SearchTrace(), QStringList{QStringLiteral("UIRemoteControl::FindQMLObject, pParent = [0], name = [], objNames = [a.b]")});
        QCOMPARE(TestSupport::LogTexts(5), SearchTrace());
        // The label was pushed before the null test: the snapshot keeps its empty brackets.
        QCOMPARE(route.snapshots, QStringList{QStringLiteral("invalid argument: []")});
        QVERIFY(route.route.isEmpty());
        // Below an existing route the empty label shows as its own entry.
        RouteStack nested;
        nested.Push(QStringLiteral("outer"));
        QCOMPARE(control.FindQMLObject(nullptr, QStringList(), &nested), static_cast<QObject *>(nullptr));
        QCOMPARE(nested.snapshots, QStringList{QStringLiteral("invalid argument: [outer] > []")});
        QCOMPARE(nested.route, QStringList{QStringLiteral("outer")});
        // The search writes no line of its own besides the trace.
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
        QCOMPARE(TestSupport::LogTexts(3), QStringList());
    }

    void routeIsRestoredAndFailedSearchTakesNoSnapshot()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        RouteStack route;
        route.Push(QStringLiteral("outer"));
        QCOMPARE(control.FindQMLObject(scene->root, Names("mainView.nothing"), &route), static_cast<QObject *>(nullptr));
        QCOMPARE(route.route, QStringList{QStringLiteral("outer")});
        QCOMPARE(route.snapshots, QStringList());
        QCOMPARE(control.FindQMLObject(scene->root, Names("okButton"), &route), static_cast<QObject *>(Item("okButton")));
        QCOMPARE(route.route, QStringList{QStringLiteral("outer")});
        QCOMPARE(route.snapshots, QStringList{QStringLiteral("target found: [outer] > [mainWindow] > [mainView] > [okButton]")});
    }

    // ----- resolution of the naming keys -------------------------------------------------

    void parentPathAndDottedObjectNameFormOneNameList()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        const ArgumentMap args{{QStringLiteral("parobjname"), QStringLiteral("mainView")},
                               {QStringLiteral("objname"), QStringLiteral("panel.inner")}};
        QCOMPARE(control.FindNamedQMLObject(args), static_cast<QObject *>(Item("inner")));
        QCOMPARE(SearchTrace().value(0),
                 QStringLiteral("UIRemoteControl::FindQMLObject, pParent = [%1], name = [mainWindow], objNames = [mainView.panel.inner]")
                     .arg(AddressField(scene->root)));
        QCOMPARE(TestSupport::LogTexts(3),
                 QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView] > [panel] > [inner]"))});
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
        // The general entry takes the same road when no "method" key is present.
        LogRecorder::Clear();
        QCOMPARE(control.FindQMLObject(args), static_cast<QObject *>(Item("inner")));
        QCOMPARE(TestSupport::LogTexts(3),
                 QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView] > [panel] > [inner]"))});
    }

    void emptyParentAndObjectNameReturnUnnamedRoot()
    {
        QQuickItem *unnamedRoot = UnnamedRectangle();
        LookupProbe control(unnamedRoot, scene->context(), nullptr);
        QCOMPARE(control.FindNamedQMLObject(ArgumentMap()), static_cast<QObject *>(unnamedRoot));
        QCOMPARE(SearchTrace(), QStringList{QStringLiteral("UIRemoteControl::FindQMLObject, pParent = [%1], name = [%2], objNames = []")
                                                .arg(AddressField(unnamedRoot), ClassOf(unnamedRoot))});
        QCOMPARE(TestSupport::LogTexts(3), QStringList{Snapshot(QStringLiteral("target found: [%1]").arg(ClassOf(unnamedRoot)))});
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"getpro": {"objname": "", "parobjname": "", "property": "marker"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("firstUnnamed")));
    }

    void emptyParentAndObjectNameUnderNamedRootTakeFirstUnnamedObject()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        // The root's name does not match the one empty name; its first unnamed child does.
        QCOMPARE(control.FindNamedQMLObject(ArgumentMap()), static_cast<QObject *>(scene->window->contentItem()));
        QCOMPARE(TestSupport::LogTexts(3), QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [QQuickRootItem]"))});
    }

    void emptyObjectNameCompletedByFirstUnnamedObjectBelowParent()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"getpro": {"parobjname": "mainView.panel", "objname": "", "property": "marker"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("firstUnnamed")));
        QCOMPARE(TestSupport::LogTexts(3),
                 QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView] > [panel] > [inner] > [%1]")
                                          .arg(ClassOf(UnnamedRectangle())))});
        QCOMPARE(SearchTrace().value(0),
                 QStringLiteral("UIRemoteControl::FindQMLObject, pParent = [%1], name = [mainWindow], objNames = [mainView.panel.]")
                     .arg(AddressField(scene->root)));
    }

    void missingObjectLogsJoinedPath()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        const ArgumentMap args{{QStringLiteral("parobjname"), QStringLiteral("mainView")},
                               {QStringLiteral("objname"), QStringLiteral("nothing")}};
        QCOMPARE(control.FindNamedQMLObject(args), static_cast<QObject *>(nullptr));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject mainView.nothing")});
        QCOMPARE(TestSupport::LogTexts(3), QStringList());
        const auto lines = LogRecorder::Lines();
        const auto error = std::find_if(lines.begin(), lines.end(), [](const LogRecorder::Line &line) { return line.severity == 2; });
        QVERIFY(error != lines.end());
        QVERIFY2(QString::fromStdString(error->file).endsWith(QLatin1String("src/lookup/Resolution.cpp")), error->file.c_str());
    }

    void nullRootLogsInvalidArgumentSnapshotAndError()
    {
        LookupProbe control(nullptr, scene->context(), nullptr);
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("okButton")}};
        QCOMPARE(control.FindNamedQMLObject(args), static_cast<QObject *>(nullptr));
        QCOMPARE(TestSupport::LogTexts(3), QStringList{Snapshot(QStringLiteral("invalid argument: []"))});
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject okButton")});
        // The snapshot goes out before the error line, from the route stack's own source.
        const auto &lines = LogRecorder::Lines();
        int snapshotAt = -1, errorAt = -1;
        for (int i = 0; i < int(lines.size()); ++i) {
            if (lines[i].severity == 3) {
                snapshotAt = i;
                QVERIFY2(QString::fromStdString(lines[i].file).endsWith(QLatin1String("src/lookup/RouteStack.cpp")), lines[i].file.c_str());
            } else if (lines[i].severity == 2) {
                errorAt = i;
            }
        }
        QVERIFY(snapshotAt >= 0 && errorAt > snapshotAt);
    }

    void getproWithMethodReadsObjectReturnedByMethod()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"getpro": {"objname": "mainView", "method": "currentButton", "property": "objectName"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("okButton")));
        QCOMPARE(TestSupport::LogTexts(3), QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView]"))});
        // Without "method" the same message reads the named object itself.
        QVERIFY(control.controlObject(Request(R"({"getpro": {"objname": "mainView", "property": "objectName"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("mainView")));
    }

    void getproWithMethodOverWire()
    {
        WireSession session(scene->root, scene->context(), scene->window);
        LOOKUP_OPEN_SESSION(session);
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"objname": "mainView", "method": "currentButton", "property": "width"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": 80})"));
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"objname": "mainView", "method": "answer", "property": "width"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": false})"));
    }

    void unnamedLookupReachesContextPropertyObject()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("mainView")},
                               {QStringLiteral("method"), QStringLiteral("backendObject")}};
        QCOMPARE(control.FindUnnamedQMLObject(args), static_cast<QObject *>(scene->backend));
        QCOMPARE(control.FindQMLObject(args), static_cast<QObject *>(scene->backend));
        scene->backend->setLevel(3);
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"getpro": {"objname": "mainView", "method": "backendObject", "property": "level"}})"), value));
        QCOMPARE(value, QVariant(3));
        QVERIFY(control.controlObject(Request(R"({"setpro": {"objname": "mainView", "method": "backendObject", "property": "level", "propval": 9}})"), value));
        QCOMPARE(scene->backend->level(), 9);
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void unnamedLookupFailsWhenMethodFails()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("mainView")},
                               {QStringLiteral("method"), QStringLiteral("noSuchFunction")}};
        QCOMPARE(control.FindUnnamedQMLObject(args), static_cast<QObject *>(nullptr));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindUnnamedQMLObject, can not get unnamed QObject")});

        LogRecorder::Clear();
        QVariant value = QStringLiteral("untouched");
        QVERIFY(!control.controlObject(Request(R"({"getpro": {"objname": "nowhere", "method": "currentButton", "property": "width"}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), (QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject nowhere"),
                                                        QStringLiteral("UIRemoteControl::FindUnnamedQMLObject, can not get unnamed QObject")}));
        QCOMPARE(value, QVariant(QStringLiteral("untouched")));
    }

    void unnamedLookupFailsWhenMethodReturnsNoObject()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("mainView")},
                               {QStringLiteral("method"), QStringLiteral("answer")}};
        QCOMPARE(control.FindUnnamedQMLObject(args), static_cast<QObject *>(nullptr));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindUnnamedQMLObject, the object is not a QObject")});
        LogRecorder::Clear();
        QVariant value;
        QVERIFY(!control.controlObject(Request(R"({"getwinname": {"objname": "mainView", "method": "answer"}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindUnnamedQMLObject, the object is not a QObject")});
    }

    // ----- windows ----------------------------------------------------------------------

    void sameNamedWindowsFirstTopLevelWindowWins()
    {
        LookupScene twins(QStringLiteral("lookup_twin_windows.qml"));
        QVERIFY(twins.root);
        QList<QWindow *> named;
        for (QWindow *window : QGuiApplication::topLevelWindows()) {
            if (window->objectName() == QLatin1String("twinWindow"))
                named.append(window);
        }
        QCOMPARE(named.size(), 2);
        QWindow *first = named.at(0);
        QWindow *second = named.at(1);

        LookupProbe control(twins.root, twins.context(), nullptr);
        QCOMPARE(control.FindQMLWindow(QStringLiteral("twinWindow")), first);

        // A click goes to the window picked by name, even for an item shown in the other one.
        const QString itemInSecond = second->property("targetName").toString();
        QVERIFY(!itemInSecond.isEmpty());
        EventCounter firstPresses(first, QEvent::MouseButtonPress);
        EventCounter secondPresses(second, QEvent::MouseButtonPress);
        QVariantMap click{{QStringLiteral("objname"), itemInSecond}, {QStringLiteral("winobjname"), QStringLiteral("twinWindow")}};
        QVariant value;
        QVERIFY(control.controlObject(QVariantMap{{QStringLiteral("click"), click}}, value));
        QCOMPARE(firstPresses.count, 1);
        QCOMPARE(secondPresses.count, 0);
    }

    void unnamedWindowFoundByEmptyName()
    {
        LookupProbe control(scene->root, scene->context(), scene->window);
        QQuickItem *item = Item("secondWindowItem");
        QVERIFY(item && item->window());
        QWindow *expected = nullptr;
        for (QWindow *window : QGuiApplication::topLevelWindows()) {
            if (window->objectName().isEmpty()) {
                expected = window;
                break;
            }
        }
        QCOMPARE(expected, static_cast<QWindow *>(item->window()));
        QCOMPARE(control.FindQMLWindow(QString()), expected);
        QCOMPARE(control.FindQMLWindow(QStringLiteral("mainWindow")), static_cast<QWindow *>(scene->window));
    }

    void unknownWindowNameFallsBackToDefaultWindow()
    {
        LookupProbe control(scene->root, scene->context(), scene->window);
        QCOMPARE(control.FindQMLWindow(QStringLiteral("noSuchWindow")), static_cast<QWindow *>(scene->window));
        QCOMPARE(TestSupport::LogTexts(2), QStringList());

        EventCounter keys(scene->window, QEvent::KeyPress);
        QVariant value;
        QVERIFY(control.controlObject(Request(R"({"keyclick": {"winobjname": "noSuchWindow", "key": 65}})"), value));
        QCOMPARE(keys.count, 1);

        EventCounter presses(scene->window, QEvent::MouseButtonPress);
        QVERIFY(control.controlObject(Request(R"({"click": {"objname": "okButton", "winobjname": "noSuchWindow"}})"), value));
        QCOMPARE(presses.count, 1);
        QWindow *window = nullptr;
        QQuickItem *item = nullptr;
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("okButton")},
                               {QStringLiteral("winobjname"), QStringLiteral("noSuchWindow")}};
        QVERIFY(control.FindWindowAndQuickItem(args, QStringLiteral("Caller::Name"), &window, &item));
        QCOMPARE(window, static_cast<QWindow *>(scene->window));
        QCOMPARE(item, Item("okButton"));
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void unknownWindowNameWithoutDefaultWindowFails()
    {
        LookupProbe control(scene->root, scene->context(), nullptr);
        QCOMPARE(control.FindQMLWindow(QStringLiteral("noSuchWindow")), static_cast<QWindow *>(nullptr));
        EventCounter presses(scene->window, QEvent::MouseButtonPress);
        EventCounter keys(scene->window, QEvent::KeyPress);
        QVariant value;
        QVERIFY(!control.controlObject(Request(R"({"click": {"objname": "okButton", "winobjname": "noSuchWindow"}})"), value));
        QVERIFY(!control.controlObject(Request(R"({"keyclick": {"winobjname": "noSuchWindow", "key": 65}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), (QStringList{QStringLiteral("UIRemoteControl::DoClick, can not find QWindow noSuchWindow"),
                                                        QStringLiteral("UIRemoteControl::DoKeyClick, can not find window object noSuchWindow")}));
        QCOMPARE(presses.count, 0);
        QCOMPARE(keys.count, 0);
        // The window is checked before the object is looked for.
        QCOMPARE(TestSupport::LogTexts(3), QStringList());
    }

    void emptyWindowNameFailsPointerActionEvenWithDefaultWindow()
    {
        LookupProbe control(scene->root, scene->context(), scene->window);
        QWindow *window = nullptr;
        QQuickItem *item = nullptr;
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("okButton")}};
        QVERIFY(!control.FindWindowAndQuickItem(args, QStringLiteral("Caller::Name"), &window, &item));
        QCOMPARE(window, static_cast<QWindow *>(nullptr));
        QCOMPARE(item, static_cast<QQuickItem *>(nullptr));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("Caller::Name, can not find QWindow ")});
        LogRecorder::Clear();
        QVariant value;
        QVERIFY(!control.controlObject(Request(R"({"hover": {"objname": "okButton", "winobjname": ""}})"), value));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::DoHover, can not find QWindow ")});
    }

    void plainQObjectFailsPointerActionsButServesProperties()
    {
        LookupProbe control(scene->root, scene->context(), scene->window);
        QObject *settings = scene->Named<QObject>(QStringLiteral("settings"));
        QVERIFY(settings && !qobject_cast<QQuickItem *>(settings));
        EventCounter presses(scene->window, QEvent::MouseButtonPress);
        QVariant value;
        QVERIFY(!control.controlObject(Request(R"({"click": {"objname": "settings", "winobjname": "mainWindow"}})"), value));
        QCOMPARE(presses.count, 0);
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::DoClick, can not find QQuickItem")});
        QCOMPARE(TestSupport::LogTexts(3), QStringList{Snapshot(QStringLiteral("target found: [mainWindow] > [mainView] > [settings]"))});

        QWindow *window = nullptr;
        QQuickItem *item = nullptr;
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("settings")},
                               {QStringLiteral("winobjname"), QStringLiteral("mainWindow")}};
        QVERIFY(!control.FindWindowAndQuickItem(args, QStringLiteral("Caller::Name"), &window, &item));
        QCOMPARE(window, static_cast<QWindow *>(nullptr));
        QCOMPARE(item, static_cast<QQuickItem *>(nullptr));

        LogRecorder::Clear();
        QVERIFY(control.controlObject(Request(R"({"getpro": {"objname": "settings", "property": "mode"}})"), value));
        QCOMPARE(value, QVariant(QStringLiteral("auto")));
        QVERIFY(control.controlObject(Request(R"({"setpro": {"objname": "settings", "property": "mode", "propval": "manual"}})"), value));
        QCOMPARE(settings->property("mode"), QVariant(QStringLiteral("manual")));
        settings->setProperty("mode", QStringLiteral("auto"));
        QCOMPARE(TestSupport::LogTexts(2), QStringList());
    }

    void plainQObjectPointerActionOverWire()
    {
        WireSession session(scene->root, scene->context(), scene->window);
        LOOKUP_OPEN_SESSION(session);
        LOOKUP_ROUND_TRIP(session, R"({"press": {"objname": "settings", "winobjname": "mainWindow"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": false})"));
        QVERIFY(TestSupport::LogTexts(2).contains(QStringLiteral("UIRemoteControl::DoPress, can not find QQuickItem")));
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"objname": "settings", "property": "mode"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": "auto"})"));
    }

    void windowAndItemResolvedIndependently()
    {
        LookupProbe control(scene->root, scene->context(), scene->window);
        QWindow *window = nullptr;
        QQuickItem *item = nullptr;
        // An item of the unnamed second window together with the main window is accepted.
        const ArgumentMap args{{QStringLiteral("objname"), QStringLiteral("secondWindowItem")},
                               {QStringLiteral("winobjname"), QStringLiteral("mainWindow")}};
        QVERIFY(control.FindWindowAndQuickItem(args, QStringLiteral("Caller::Name"), &window, &item));
        QCOMPARE(window, static_cast<QWindow *>(scene->window));
        QCOMPARE(item, Item("secondWindowItem"));
        QVERIFY(item->window() != window);
    }

    void nestedPathOverWire()
    {
        WireSession session(scene->root, scene->context(), scene->window);
        LOOKUP_OPEN_SESSION(session);
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"parobjname": "mainView", "objname": "twins.twin", "property": "order"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": 1})"));
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"parobjname": "listView", "objname": "listDelegate2", "property": "row"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": true, "value": 2})"));
        LogRecorder::Clear();
        LOOKUP_ROUND_TRIP(session, R"({"getpro": {"parobjname": "mainView", "objname": "nothing", "property": "width"}})");
        QCOMPARE(session.client.replies.last(), Reply(R"({"result": false})"));
        QCOMPARE(TestSupport::LogTexts(2), QStringList{QStringLiteral("UIRemoteControl::FindNamedQMLObject, can not find QObject mainView.nothing")});
    }
};

QTEST_MAIN(TestLookup)
#include "tst_lookup.moc"
