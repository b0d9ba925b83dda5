#pragma once
// Scenes of nested repeaters (tests/tst_nesting.cpp, bench/nesting_bench.cpp): at each level an
// item holding a repeater whose one delegate holds the next level, down to an item named "leaf";
// and a flat scene of about as many objects, for comparison.

#include <QByteArray>

namespace NestedScene {

inline QByteArray Nested(int levels)
{
    QByteArray inner = "Item { objectName: 'leaf' }";
    for (int i = 0; i < levels; ++i)
        inner = "Item { Repeater { model: 1; Item { " + inner + " } } Rectangle { width: 1; height: 1 } }";
    return "import QtQuick 2.15\nItem { objectName: 'top'\n" + inner + "\n}\n";
}

inline QByteArray Flat(int items)
{
    QByteArray body;
    for (int i = 0; i < items; ++i)
        body += "Item {}\n";
    return "import QtQuick 2.15\nItem { objectName: 'top'\n" + body + "Item { objectName: 'leaf' }\n}\n";
}

} // namespace NestedScene
