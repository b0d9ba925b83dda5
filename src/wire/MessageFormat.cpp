// The control message format: JSON parsing and serialisation, and the reduction of a request to
// control type, arguments and delay (the control words come from the control table).

#include "UIRemoteControl.h"

#include "WireText.h"

#include <QJsonDocument>

#include <cmath>
#include <iterator>

namespace {

bool ParseJSONBytes(const QByteArray &utf8, QVariant &result)
{
    const QJsonDocument document = QJsonDocument::fromJson(utf8);
    if (document.isNull() || document.isEmpty())
        return false;
    result = document.toVariant();
    return true;
}

bool SerializeJSONBytes(const QVariant &value, QByteArray &utf8)
{
    if (!value.isValid() || value.isNull())
        return false;
    const QJsonDocument document = QJsonDocument::fromVariant(value);
    if (document.isNull() || document.isEmpty())
        return false;
    utf8 = document.toJson(QJsonDocument::Indented);
    return true;
}

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// A string that JSON writes as it is between quotes: printable ASCII without '"' and '\\'.
bool AppendPlainString(const QString &text, QByteArray &out)
{
    const int at = out.size();
    out.resize(at + text.size() + 2);
    char *cursor = out.data() + at;
    *cursor++ = '"';
    for (const QChar c : text) {
        const ushort u = c.unicode();
        if (u < 0x20 || u > 0x7E || u == '"' || u == '\\')
            return false;
        *cursor++ = char(u);
    }
    *cursor = '"';
    return true;
}

// A value whose JSON text is certain without Qt's writer: true, false, an int, an integral
// double of at most 2^31 in size (Qt writes it without a fraction or an exponent), and a plain
// string. False for anything else: the caller then leaves the whole text to Qt.
bool AppendScalar(const QVariant &value, QByteArray &out)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        out += value.toBool() ? "true" : "false";
        return true;
    case QMetaType::Int:
        out += QByteArray::number(value.toInt());
        return true;
    case QMetaType::Double: {
        const double d = value.toDouble();
        if (!(std::fabs(d) <= 2147483648.0) || d != std::floor(d) || (d == 0 && std::signbit(d)))
            return false;
        out += QByteArray::number(qint64(d));
        return true;
    }
    case QMetaType::QString:
        return AppendPlainString(value.toString(), out);
    default:
        return false;
    }
}

// An object of such values, indented as QJsonDocument::Indented writes it (four spaces, a
// closing newline). Replies are small objects of such values nearly always.
bool WritePlainObject(const QVariant &value, QByteArray &out)
{
    if (value.userType() != QMetaType::QVariantMap)
        return false;
    const QVariantMap map = value.toMap();
    if (map.isEmpty())
        return false;
    out.reserve(64);
    out += "{\n";
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        out += "    ";
        if (!AppendPlainString(it.key(), out))
            return false;
        out += ": ";
        if (!AppendScalar(it.value(), out))
            return false;
        out += std::next(it) == map.constEnd() ? "\n" : ",\n";
    }
    out += "}\n";
    return true;
}

} // namespace

bool ParseJSON(const QString &text, QVariant &result)
{
    if (text.isEmpty())
        return false;
    return ParseJSONBytes(text.toUtf8(), result);
}

bool SerializeJSON(const QVariant &value, QString &text)
{
    QByteArray utf8;
    if (!SerializeJSONBytes(value, utf8))
        return false;
    text = QString::fromUtf8(utf8);
    return true;
}

namespace WireText {

bool RoundTripsUnchanged(const char *data, int size)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(data);
    // QString::fromUtf8 drops a leading byte order mark.
    if (size >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
        return false;
    int i = 0;
    while (i < size) {
        const unsigned char lead = bytes[i];
        if (lead < 0x80) {
            ++i;
            continue;
        }
        int length = 0;
        char32_t point = 0;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
            point = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            point = lead & 0x0F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            point = lead & 0x07;
        } else {
            return false; // a continuation byte without lead, an overlong lead, or beyond U+10FFFF
        }
        if (size - i < length)
            return false;
        for (int k = 1; k < length; ++k) {
            if (!IsContinuation(bytes[i + k]))
                return false;
            point = (point << 6) | (bytes[i + k] & 0x3F);
        }
        const char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        if (point < least[length] || point > 0x10FFFF)
            return false; // overlong, or beyond Unicode
        if (point >= 0xD800 && point <= 0xDFFF)
            return false; // a surrogate
        if ((point >= 0xFDD0 && point <= 0xFDEF) || (point & 0xFFFE) == 0xFFFE)
            return false; // a noncharacter
        i += length;
    }
    return true;
}

bool ParseMessage(const QByteArray &bytes, QVariant &result)
{
    if (RoundTripsUnchanged(bytes.constData(), bytes.size()))
        return !bytes.isEmpty() && ParseJSONBytes(bytes, result);
    return ParseJSON(QString::fromUtf8(bytes.constData(), bytes.size()), result);
}

QByteArray SerializeMessage(const QVariant &value)
{
    QByteArray utf8;
    if (WritePlainObject(value, utf8))
        return utf8;
    utf8.clear();
    if (!SerializeJSONBytes(value, utf8))
        return QByteArray();
    if (RoundTripsUnchanged(utf8.constData(), utf8.size()))
        return utf8;
    return QString::fromUtf8(utf8).toUtf8();
}

} // namespace WireText

void ExtractParsedMessageInfo(const QVariant &request, ParsedMessageInfo &info)
{
    const QVariantMap map = request.toMap();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        if (ControlTypeWords().contains(it.key())) {
            info.controlType = it.key();
            info.args = it.value().toMap();
        } else {
            const int delay = it.value().toInt();
            if (delay > 0)
                info.delay = delay;
        }
    }
}
