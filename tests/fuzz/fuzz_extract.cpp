// Fuzz target: arbitrary bytes as the text of one request. Whatever ParseJSON accepts goes
// through ExtractParsedMessageInfo, and the result is checked against a reduction written
// here independently:
//  - the control type is empty or one of the 20 words, and it is the control word that sorts
//    last among the request's keys;
//  - the argument map is that key's value as a map;
//  - the delay is never negative, and it is the last positive integer among the other keys.
// Texts with an object that repeats a key are rejected: Qt's JSON parser leaks on them
// (RepeatedKeys.h).

#include "RepeatedKeys.h"
#include "UIRemoteControl.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

const char *const kWords[] = {"addjoystick", "click",         "dbclick",   "drag",
                              "drop",        "emitpluginsignal", "getpro",  "getfltmdlitemval",
                              "getgrpmdlitemval", "getmdlitemval", "getwinname", "hover",
                              "invoke",      "invokeret",     "joystickbuttonevent", "keyclick",
                              "movejoystick", "press",        "setpro",    "waitsignal"};

bool IsControlWord(const QString &key)
{
    for (const char *word : kWords) {
        if (key == QLatin1String(word))
            return true;
    }
    return false;
}

[[noreturn]] void Fail(const char *what, const QByteArray &input)
{
    std::fprintf(stderr, "fuzz_extract: %s\ninput: %s\n", what, input.toPercentEncoding(" {}[]:,\"").constData());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    const QString text = QString::fromUtf8(bytes.constData(), bytes.size()); // NULs included
    if (FuzzJson::MayRepeatKeys(text.toUtf8()))
        return -1; // Qt's parser would leak (RepeatedKeys.h)
    QVariant request;
    const bool parsed = ParseJSON(text, request);
    if (text.isEmpty() && parsed)
        Fail("empty text parsed", bytes);
    if (!parsed)
        return 0;

    ParsedMessageInfo info;
    info.Reset();
    ExtractParsedMessageInfo(request, info);

    if (info.delay < 0)
        Fail("negative delay", bytes);
    if (!info.controlType.isEmpty() && !ControlTypeWords().contains(info.controlType))
        Fail("control type is not a control word", bytes);
    if (ControlTypeWords().size() != int(sizeof kWords / sizeof *kWords))
        Fail("the word list changed", bytes);

    // The independent reduction. A request that is not an object has no keys at all.
    QString expectedType;
    QVariantMap expectedArgs;
    qint32 expectedDelay = 0;
    if (request.type() == QVariant::Map) {
        const QVariantMap map = request.toMap();
        QStringList keys = map.keys();
        std::sort(keys.begin(), keys.end());
        for (const QString &key : keys) {
            if (IsControlWord(key)) {
                expectedType = key;
                expectedArgs = map.value(key).toMap();
            } else if (map.value(key).toInt() > 0) {
                expectedDelay = map.value(key).toInt();
            }
        }
    }
    if (info.controlType != expectedType)
        Fail("control type differs from the last control word", bytes);
    if (info.args != expectedArgs)
        Fail("argument map differs from the control word's value", bytes);
    if (info.delay != expectedDelay)
        Fail("delay differs from the last positive non-control value", bytes);

    // The same request handed over again reduces to the same info (nothing is kept between calls).
    ParsedMessageInfo again;
    again.Reset();
    ExtractParsedMessageInfo(request, again);
    if (again.controlType != info.controlType || again.args != info.args || again.delay != info.delay)
        Fail("a second reduction differs", bytes);
    return 0;
}
