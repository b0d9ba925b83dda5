// Parsing and matching of selector segments in object paths.

#include "Selector.h"

#include <QJSValue>
#include <QJsonArray>
#include <QJsonDocument>
#include <QObject>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlProperty>

namespace Selector {

bool Segment::operator==(const Segment &other) const
{
    return name == other.name && isSelector == other.isSelector && type == other.type &&
           properties == other.properties && index == other.index;
}

namespace {

bool IsWordChar(QChar c) { return c.isLetterOrNumber() || c == QLatin1Char('_'); }

// Reads one selector from text at pos (on its '{') up to and including its closing brace and
// optional index.
class SelectorReader {
public:
    SelectorReader(const QString &text, int pos) : m_text(text), m_pos(pos) {}

    bool Read(Segment &segment, QString &error)
    {
        segment.isSelector = true;
        ++m_pos; // '{'
        SkipSpaces();
        if (!AtEnd() && IsWordChar(Peek())) {
            const QString word = Word();
            SkipSpaces();
            if (!AtEnd() && Peek() == QLatin1Char('=')) {
                if (!ReadValue(word, segment, error))
                    return false;
            } else {
                segment.type = word;
            }
        }
        while (true) {
            SkipSpaces();
            if (AtEnd())
                return Fail(error, QStringLiteral("missing '}'"));
            if (Peek() == QLatin1Char('}'))
                break;
            if (!IsWordChar(Peek()))
                return Fail(error, QStringLiteral("unexpected '%1'").arg(Peek()));
            const QString word = Word();
            SkipSpaces();
            if (AtEnd() || Peek() != QLatin1Char('='))
                return Fail(error, QStringLiteral("'%1' needs '=' and a value").arg(word));
            if (!ReadValue(word, segment, error))
                return false;
        }
        ++m_pos; // '}'
        if (!AtEnd() && Peek() == QLatin1Char('[')) {
            const int close = m_text.indexOf(QLatin1Char(']'), m_pos);
            bool ok = false;
            const int index = close < 0 ? -1 : m_text.mid(m_pos + 1, close - m_pos - 1).toInt(&ok);
            if (!ok || index < 0)
                return Fail(error, QStringLiteral("the index must be a number from 0 in [ ]"));
            segment.index = index;
            m_pos = close + 1;
        }
        return true;
    }
    int Position() const { return m_pos; }

private:
    bool AtEnd() const { return m_pos >= m_text.size(); }
    QChar Peek() const { return m_text.at(m_pos); }
    void SkipSpaces()
    {
        while (!AtEnd() && Peek().isSpace())
            ++m_pos;
    }
    // A word: letters, digits, '_', and '.' between them (attached and dotted property names).
    QString Word()
    {
        const int start = m_pos;
        while (!AtEnd() && (IsWordChar(Peek()) || Peek() == QLatin1Char('.')))
            ++m_pos;
        return m_text.mid(start, m_pos - start);
    }
    bool Fail(QString &error, const QString &what)
    {
        error = QStringLiteral("bad selector at character %1: %2").arg(m_pos + 1).arg(what);
        return false;
    }
    // "=" then a JSON literal: a string in double quotes, a number, true, false or null.
    bool ReadValue(const QString &name, Segment &segment, QString &error)
    {
        ++m_pos; // '='
        SkipSpaces();
        const int start = m_pos;
        if (!AtEnd() && Peek() == QLatin1Char('"')) {
            for (++m_pos; !AtEnd() && Peek() != QLatin1Char('"'); ++m_pos) {
                if (Peek() == QLatin1Char('\\'))
                    ++m_pos;
            }
            if (AtEnd())
                return Fail(error, QStringLiteral("unterminated string"));
            ++m_pos;
        } else {
            while (!AtEnd() && !Peek().isSpace() && Peek() != QLatin1Char('}'))
                ++m_pos;
        }
        const QString literal = m_text.mid(start, m_pos - start);
        QJsonParseError parseError;
        const QJsonDocument doc = QJsonDocument::fromJson(QStringLiteral("[%1]").arg(literal).toUtf8(), &parseError);
        if (literal.isEmpty() || parseError.error != QJsonParseError::NoError || doc.array().size() != 1 ||
            doc.array().at(0).isArray() || doc.array().at(0).isObject()) {
            m_pos = start;
            return Fail(error, QStringLiteral("the value of '%1' is not a JSON literal").arg(name));
        }
        segment.properties.append(qMakePair(name, doc.array().at(0).toVariant()));
        return true;
    }

    const QString &m_text;
    int m_pos;
};

bool ValueEquals(QVariant value, const QVariant &literal)
{
    if (value.userType() == qMetaTypeId<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    if (!literal.isValid() || literal.userType() == QMetaType::Nullptr)
        return !value.isValid() || value.isNull() || (value.canConvert<QObject *>() && !value.value<QObject *>());
    if (!value.isValid())
        return false;
    if (literal.userType() == QMetaType::Bool)
        return value.userType() == QMetaType::Bool && value.toBool() == literal.toBool();
    if (literal.userType() == QMetaType::Double) {
        bool ok = false;
        const double number = value.toDouble(&ok);
        return ok && value.userType() != QMetaType::Bool && qFuzzyCompare(number + 1.0, literal.toDouble() + 1.0);
    }
    return value.userType() != QMetaType::Bool && value.toString() == literal.toString();
}

} // namespace

bool Parse(const QString &path, Path &segments, QString *error)
{
    segments.clear();
    QString reason;
    Segment current;
    int pos = 0;
    int start = 0;
    while (pos <= path.size()) {
        if (pos == path.size() || path.at(pos) == QLatin1Char('.')) {
            if (!current.isSelector)
                current.name = path.mid(start, pos - start);
            segments.append(current);
            current = Segment();
            start = ++pos;
            continue;
        }
        if (path.at(pos) == QLatin1Char('{') && pos == start) {
            SelectorReader reader(path, pos);
            if (!reader.Read(current, reason)) {
                if (error)
                    *error = reason;
                return false;
            }
            pos = reader.Position();
            if (pos < path.size() && path.at(pos) != QLatin1Char('.')) {
                if (error)
                    *error = QStringLiteral("bad selector at character %1: '.' expected").arg(pos + 1);
                return false;
            }
            continue;
        }
        ++pos;
    }
    return true;
}

bool HasSelector(const Path &segments)
{
    for (const Segment &segment : segments) {
        if (segment.isSelector)
            return true;
    }
    return false;
}

namespace {

// Removes one trailing "<marker><digits>" from name; false when name does not end so.
bool ChopNumbered(QString &name, QLatin1String marker)
{
    const int at = name.lastIndexOf(marker);
    if (at < 0 || at + marker.size() == name.size())
        return false;
    for (int i = at + marker.size(); i < name.size(); ++i) {
        if (!name.at(i).isDigit())
            return false;
    }
    name.truncate(at);
    return true;
}

} // namespace

QString ShortTypeName(const char *className)
{
    QString name = QString::fromLatin1(className);
    while (ChopNumbered(name, QLatin1String("_QMLTYPE_")) || ChopNumbered(name, QLatin1String("_QML_"))) {
    }
    if (name.endsWith(QLatin1String("QmlImpl")))
        name.chop(7);
    if (name.startsWith(QLatin1String("QQuick")) && name.size() > 6)
        name.remove(0, 6);
    return name;
}

QString TypeName(const QObject *object) { return ShortTypeName(object->metaObject()->className()); }

QStringList TypeChain(const QObject *object)
{
    QStringList chain;
    for (const QMetaObject *meta = object->metaObject(); meta; meta = meta->superClass()) {
        const QString name = ShortTypeName(meta->className());
        if (!chain.contains(name))
            chain.append(name);
    }
    return chain;
}

bool HasType(const QObject *object, const QString &type)
{
    const QString wanted = type.startsWith(QLatin1String("QQuick")) ? type.mid(6) : type;
    for (const QMetaObject *meta = object->metaObject(); meta; meta = meta->superClass()) {
        if (ShortTypeName(meta->className()) == wanted)
            return true;
    }
    return false;
}

QVariant ReadProperty(const QObject *object, const QString &name)
{
    auto *target = const_cast<QObject *>(object);
    if (!name.contains(QLatin1Char('.')))
        return target->property(name.toUtf8().constData());
    return QQmlProperty(target, name, qmlContext(target)).read();
}

bool Matches(const Segment &segment, const QObject *object)
{
    if (!object)
        return false;
    if (!segment.isSelector)
        return object->objectName() == segment.name;
    if (!segment.type.isEmpty() && !HasType(object, segment.type))
        return false;
    for (const auto &property : segment.properties) {
        if (!ValueEquals(ReadProperty(object, property.first), property.second))
            return false;
    }
    return true;
}

QString Format(const Segment &segment)
{
    if (!segment.isSelector)
        return segment.name;
    QStringList parts;
    if (!segment.type.isEmpty())
        parts.append(segment.type);
    for (const auto &property : segment.properties) {
        const QJsonArray array = QJsonArray::fromVariantList({property.second});
        QString literal = QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
        parts.append(property.first + QLatin1Char('=') + literal.mid(1, literal.size() - 2));
    }
    QString text = QLatin1Char('{') + parts.join(QLatin1Char(' ')) + QLatin1Char('}');
    if (segment.index > 0)
        text += QStringLiteral("[%1]").arg(segment.index);
    return text;
}

} // namespace Selector
