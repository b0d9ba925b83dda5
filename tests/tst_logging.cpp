// The trace façade against the recording log library, under each of its variants. The same
// executable runs once per variant (QMDXLOG_VARIANT / QMDXLOG_REFUSE, set by ctest); each test
// states what that variant must produce.

#include "TestSupport.h"
#include "TraceLog.h"
#include "UIRemoteControl.h"

#include <QtTest>

#include <stdexcept>

using namespace TestSupport;

namespace {

QString Variant() { return qEnvironmentVariable("QMDXLOG_VARIANT"); }
bool Refuses(int severity)
{
    return qEnvironmentVariable("QMDXLOG_REFUSE").split(',').contains(QString::number(severity));
}
bool WritesAtAll()
{
    const QString v = Variant();
    return v.isEmpty() || v == QLatin1String("noregister");
}
bool FiltersAtAll()
{
    const QString v = Variant();
    return v.isEmpty() || v == QLatin1String("noregister") || v == QLatin1String("nowrite");
}

int g_enterLine = 0;

void TracedFunctionThatThrows()
{
    g_enterLine = __LINE__ + 1;
    RC_TRACE_SCOPE("Test::TracedFunctionThatThrows");
    throw std::runtime_error("boom");
}

void TracedFunction()
{
    g_enterLine = __LINE__ + 1;
    RC_TRACE_SCOPE("Test::TracedFunction");
}

const LogRecorder::FilterCall *LastFilter()
{
    return LogRecorder::Filters().empty() ? nullptr : &LogRecorder::Filters().back();
}

} // namespace

class TestLogging : public QObject {
    Q_OBJECT
private slots:
    void init() { LogRecorder::Clear(); }

    void libraryObjectIsFetchedOnceWithZero()
    {
        QCOMPARE(LogRecorder::GetObjectCalls(), 1);
        QCOMPARE(LogRecorder::LastGetObjectArgument(), 0);
    }

    void registerModuleAnnouncesCode19AndLevelVariable()
    {
        const auto &registers = LogRecorder::Registers();
        if (Variant() == QLatin1String("noregister") || Variant() == QLatin1String("nullobject")) {
            QCOMPARE(int(registers.size()), 0);
            return;
        }
        QCOMPARE(int(registers.size()), 1);
        QCOMPARE(registers[0].moduleCode, 19);
        QCOMPARE(QString::fromStdString(registers[0].moduleName), QStringLiteral("PluginUIRemoteControl"));
        QVERIFY(registers[0].level != nullptr);
        QCOMPARE(*registers[0].level, 0);
        QCOMPARE(registers[0].context, Variant() == QLatin1String("nocontext") ? 0ULL : LogRecorder::Context());
    }

    void enterAndLeaveLinesPairWithLineZeroOnLeave()
    {
        TracedFunction();
        const QStringList lines = LogTexts(5);
        if (!WritesAtAll() || Refuses(5)) {
            QVERIFY(lines.isEmpty());
            return;
        }
        QCOMPARE(lines, QStringList({"Test::TracedFunction, Enter", "Test::TracedFunction, Leave"}));
        const auto &written = LogRecorder::Lines();
        QCOMPARE(written[0].line, g_enterLine);
        QCOMPARE(written[1].line, 0);
        QVERIFY(QString::fromStdString(written[0].file).endsWith(QLatin1String("tests/tst_logging.cpp")));
        QCOMPARE(QString::fromStdString(written[0].format), QStringLiteral("%s, Enter"));
        QCOMPARE(QString::fromStdString(written[1].format), QStringLiteral("%s, Leave"));
    }

    void functionLeftByExceptionStillWritesLeave()
    {
        QVERIFY_EXCEPTION_THROWN(TracedFunctionThatThrows(), std::runtime_error);
        if (!WritesAtAll() || Refuses(5)) {
            QVERIFY(LogTexts(5).isEmpty());
            return;
        }
        QCOMPARE(LogTexts(5), QStringList({"Test::TracedFunctionThatThrows, Enter", "Test::TracedFunctionThatThrows, Leave"}));
        QCOMPARE(LogRecorder::Lines().back().line, 0);
    }

    void filterGetsPackedLevelSeverityZeroFileAndLine()
    {
        const int line = __LINE__ + 1;
        RC_ERROR("%s, something failed %s", "Test::filter", "here");
        if (!FiltersAtAll()) {
            QCOMPARE(int(LogRecorder::Filters().size()), 0);
            return;
        }
        const auto *filter = LastFilter();
        QVERIFY(filter);
        QCOMPARE(filter->packedLevel, (0 << 8) | 2);
        QCOMPARE(filter->reserved, 0);
        QCOMPARE(filter->line, line);
        QCOMPARE(filter->context, LogRecorder::Context());
        QVERIFY(QString::fromStdString(filter->file).endsWith(QLatin1String("tests/tst_logging.cpp")));
        if (Variant() == QLatin1String("nowrite") || Refuses(2))
            QVERIFY(LogRecorder::Lines().empty());
        else
            QCOMPARE(ErrorLines(), QStringList({"Test::filter, something failed here"}));
    }

    void levelIsReadAfreshAtEveryLogSite()
    {
        if (Variant() != QString())
            QSKIP("needs the registered level variable");
        LogRecorder::SetLevel(7);
        RC_LOG(TraceLog::Route, "%s, %s", "Test::level", "x");
        LogRecorder::SetLevel(0);
        QCOMPARE(LastFilter()->packedLevel, (7 << 8) | 3);
        RC_LOG(TraceLog::Route, "%s, %s", "Test::level", "y");
        QCOMPARE(LastFilter()->packedLevel, 3);
    }

    void argumentsAreNotEvaluatedWhenFilterRefuses()
    {
        int conversions = 0;
        auto convert = [&conversions](const char *text) { ++conversions; return text; };
        RC_LOG(TraceLog::Trace, "%s, %s", "Test::lazy", convert("value"));
        const bool written = WritesAtAll() && !Refuses(5);
        QCOMPARE(conversions, (FiltersAtAll() && !Refuses(5)) ? 1 : 0);
        QCOMPARE(LogTexts(5).size(), written ? 1 : 0);
    }

    void writeAloneWorksWithoutFilterWord()
    {
        // log-write never consults the filter; only the log sites do.
        TraceLog::Write("%s, direct %d", "Test::direct", 42);
        const bool canWrite = Variant().isEmpty() || Variant() == QLatin1String("noregister") ||
                              Variant() == QLatin1String("noshouldlog");
        QCOMPARE(int(LogRecorder::Lines().size()), canWrite ? 1 : 0);
        if (canWrite)
            QCOMPARE(QString::fromStdString(LogRecorder::Lines()[0].text), QStringLiteral("Test::direct, direct 42"));
    }

    void serverErrorsReachTheLogWithExactText()
    {
        UIRemoteControl remote(nullptr, nullptr, nullptr);
        QVariant value;
        QVERIFY(!remote.controlObject(QVariantMap{{"nothing", QVariantMap()}}, value));
        if (!WritesAtAll() || Refuses(2)) {
            QVERIFY(ErrorLines().isEmpty());
            return;
        }
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::Action, control type not support"}));
        QVERIFY(QString::fromStdString(LogRecorder::Lines().back().file).endsWith(QLatin1String("src/Dispatch.cpp")));
    }

    void refusedSeveritiesWriteNothingButOthersStill()
    {
        if (qEnvironmentVariableIsEmpty("QMDXLOG_REFUSE"))
            QSKIP("needs a refusing filter");
        TracedFunction();
        RC_ERROR("%s, failure", "Test::refuse");
        QCOMPARE(LogTexts(5).isEmpty(), Refuses(5));
        QCOMPARE(ErrorLines().isEmpty(), Refuses(2));
        if (!Refuses(2))
            QCOMPARE(ErrorLines(), QStringList({"Test::refuse, failure"}));
        // The filter was still asked for the Enter and Leave lines, refused or not.
        int traceFilters = 0;
        for (const auto &f : LogRecorder::Filters())
            traceFilters += (f.packedLevel & 0xFF) == 5 ? 1 : 0;
        QCOMPARE(traceFilters, 2);
    }
};

QTEST_GUILESS_MAIN(TestLogging)
#include "tst_logging.moc"
