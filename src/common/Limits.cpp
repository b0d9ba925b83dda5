// The nesting bound of values: a walk that stops at the bound, so that it never recurses deeper
// than kMaxNesting levels itself, whatever the value.

#include "Limits.h"

#include <QJSValue>
#include <QJSValueIterator>
#include <QVariant>

namespace {

bool Within(const QVariant &value, int levelsLeft);

// Only arrays and plain objects hold further values a conversion would descend into; objects
// of the application (QObject wrappers), functions, dates and regular expressions do not.
bool Within(const QJSValue &value, int levelsLeft)
{
    if (value.isVariant())
        return Within(value.toVariant(), levelsLeft);
    if (!value.isObject() || value.isQObject() || value.isCallable() || value.isDate() || value.isRegExp() ||
        value.isQMetaObject())
        return true;
    if (levelsLeft == 0)
        return false;
    QJSValueIterator it(value);
    while (it.hasNext()) {
        it.next();
        if (!Within(it.value(), levelsLeft - 1))
            return false;
    }
    return true;
}

// The elements of a list, map or hash, one level down.
template <typename Container>
bool ElementsWithin(const QVariant &value, int levelsLeft)
{
    if (levelsLeft == 0)
        return false;
    for (const QVariant &element : *static_cast<const Container *>(value.constData())) {
        if (!Within(element, levelsLeft - 1))
            return false;
    }
    return true;
}

bool Within(const QVariant &value, int levelsLeft)
{
    switch (value.userType()) {
    case QMetaType::QVariantList:
        return ElementsWithin<QVariantList>(value, levelsLeft);
    case QMetaType::QVariantMap:
        return ElementsWithin<QVariantMap>(value, levelsLeft);
    case QMetaType::QVariantHash:
        return ElementsWithin<QVariantHash>(value, levelsLeft);
    default:
        return value.userType() != qMetaTypeId<QJSValue>() || Within(value.value<QJSValue>(), levelsLeft);
    }
}

} // namespace

namespace Limits {

bool WithinNesting(const QVariant &value)
{
    return Within(value, kMaxNesting);
}

bool WithinNesting(const QJSValue &value)
{
    return Within(value, kMaxNesting);
}

} // namespace Limits
