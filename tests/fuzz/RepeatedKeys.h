#pragma once
// Qt 5.15's JSON parser leaks memory when an object repeats a key whose earlier value was an
// object or an array: the dropped value is never freed. A bare
//     QJsonDocument::fromJson("{\"a\":{\"b\":1},\"a\":2}");
// leaks under LeakSanitizer. The leak is Qt's, and its stack cannot be told apart from others by
// a suppression: Qt is built without frame pointers, so the fast unwinder stops at an unnamed
// frame inside QtCore. The fuzz targets therefore keep texts that may repeat a key away from the
// parser, so that every leak they do report is one to look at. Nothing of this project deals with
// repeated keys (the parser has already merged them when our code sees the request), so no
// coverage of ours is lost.

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QVector>

namespace FuzzJson {

// True when some object of the text may repeat a key (compared after unescaping, as the parser
// compares them). The scan is lenient: what a JSON parser accepts is read as it would read it,
// and after a syntax error the scan goes on, which at worst says "yes" where the parser would
// have stopped before the repetition.
inline bool MayRepeatKeys(const QByteArray &text)
{
    QVector<QSet<QString>> objects; // keys seen so far in each open object
    QVector<bool> isObject;         // the open containers, innermost last
    QString candidate;              // the last string read: a key if a ':' follows
    bool haveCandidate = false;
    const int n = text.size();
    int i = 0;
    while (i < n) {
        const char c = text.at(i);
        if (c == '"') {
            QString value;
            QByteArray raw;
            ++i;
            while (i < n && text.at(i) != '"') {
                if (text.at(i) != '\\' || i + 1 >= n) {
                    raw.append(text.at(i++));
                    continue;
                }
                value += QString::fromUtf8(raw);
                raw.clear();
                const char escape = text.at(i + 1);
                i += 2;
                switch (escape) {
                case 'b': value += QLatin1Char('\b'); break;
                case 'f': value += QLatin1Char('\f'); break;
                case 'n': value += QLatin1Char('\n'); break;
                case 'r': value += QLatin1Char('\r'); break;
                case 't': value += QLatin1Char('\t'); break;
                case 'u': {
                    bool ok = false;
                    const ushort unit = text.mid(i, 4).toUShort(&ok, 16);
                    if (ok && i + 4 <= n) {
                        value += QChar(unit);
                        i += 4;
                    } else {
                        value += QLatin1Char('u');
                    }
                    break;
                }
                default: value += QLatin1Char(escape); break;
                }
            }
            value += QString::fromUtf8(raw);
            ++i; // the closing quote
            candidate = value;
            haveCandidate = true;
            continue;
        }
        switch (c) {
        case ':':
            if (haveCandidate && !isObject.isEmpty() && isObject.last()) {
                QSet<QString> &keys = objects.last();
                if (keys.contains(candidate))
                    return true;
                keys.insert(candidate);
            }
            haveCandidate = false;
            break;
        case '{':
        case '[':
            isObject.append(c == '{');
            objects.append(QSet<QString>());
            haveCandidate = false;
            break;
        case '}':
        case ']':
            if (!isObject.isEmpty()) {
                isObject.removeLast();
                objects.removeLast();
            }
            haveCandidate = false;
            break;
        case ' ': case '\t': case '\n': case '\r':
            break;
        default:
            haveCandidate = false;
            break;
        }
        ++i;
    }
    return false;
}

} // namespace FuzzJson
