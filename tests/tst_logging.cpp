// The trace façade against the recording log library, under each of its variants. The same
// executable runs once per variant (QMDXLOG_VARIANT / QMDXLOG_REFUSE, set by ctest); each test
// states what that variant must produce. "Nothing written" is always checked on the complete
// list of written lines: a line written without the filter's yes has no severity and would
// never show up in a list of one severity.

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

// Texts of every line written since the last Clear(), whatever their severity.
QStringList AllTexts() { return LogTexts(); }

QStringList Texts(const std::vector<LogRecorder::Line> &lines)
{
    QStringList texts;
    for (const LogRecorder::Line &line : lines)
        texts.append(QString::fromStdString(line.text));
    return texts;
}

// The one line this suite writes through log-write directly, without asking the filter.
const char kDirectLine[] = "Test::direct, direct 42";

const LogRecorder::FilterCall *LastFilter()
{
    return LogRecorder::Filters().empty() ? nullptr : &LogRecorder::Filters().back();
}

} // namespace

class TestLogging : public QObject {
    Q_OBJECT
private slots:
    // Loading the library writes nothing (it only registers), so the record of the run starts here.
    void initTestCase() { LogRecorder::KeepRunLines(); }
    void init() { LogRecorder::Clear(); }

    // Every line the run wrote, compared whole: each one went through an accepting filter call
    // of its own, apart from the one written directly; without a filter word (or without a way
    // to write) the direct line is all there is.
    void cleanupTestCase()
    {
        const auto &run = LogRecorder::RunLines();
        if (!WritesAtAll()) {
            const bool canWrite = Variant() == QLatin1String("noshouldlog");
            QCOMPARE(Texts(run), canWrite ? QStringList{kDirectLine} : QStringList());
            return;
        }
        QVERIFY(run.size() > 1);
        for (const LogRecorder::Line &line : run) {
            const QString text = QString::fromStdString(line.text);
            if (text == QLatin1String(kDirectLine))
                continue;
            QVERIFY2(line.severity == 2 || line.severity == 3 || line.severity == 5, qPrintable(text));
            QVERIFY2(!Refuses(line.severity), qPrintable(text));
        }
    }

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
        const QStringList lines = AllTexts();
        if (!WritesAtAll() || Refuses(5)) {
            QCOMPARE(lines, QStringList());
            return;
        }
        QCOMPARE(lines, QStringList({"Test::TracedFunction, Enter", "Test::TracedFunction, Leave"}));
        const auto &written = LogRecorder::Lines();
        QCOMPARE(written[0].severity, 5);
        QCOMPARE(written[1].severity, 5);
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
            QCOMPARE(AllTexts(), QStringList());
            return;
        }
        QCOMPARE(AllTexts(), QStringList({"Test::TracedFunctionThatThrows, Enter", "Test::TracedFunctionThatThrows, Leave"}));
        QCOMPARE(LogRecorder::Lines().back().severity, 5);
        QCOMPARE(LogRecorder::Lines().back().line, 0);
    }

    void filterGetsPackedLevelSeverityZeroFileAndLine()
    {
        const int line = __LINE__ + 1;
        RC_ERROR("%s, something failed %s", "Test::filter", "here");
        if (!FiltersAtAll()) {
            QCOMPARE(int(LogRecorder::Filters().size()), 0);
            QCOMPARE(AllTexts(), QStringList());
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
            QCOMPARE(AllTexts(), QStringList());
        else
            QCOMPARE(AllTexts(), QStringList({"Test::filter, something failed here"}));
        if (!LogRecorder::Lines().empty())
            QCOMPARE(LogRecorder::Lines()[0].severity, 2);
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
        QCOMPARE(AllTexts(), written ? QStringList{"Test::lazy, value"} : QStringList());
    }

    void writeAloneWorksWithoutFilterWord()
    {
        // log-write never consults the filter; only the log sites do.
        TraceLog::Write("%s, direct %d", "Test::direct", 42);
        const bool canWrite = Variant().isEmpty() || Variant() == QLatin1String("noregister") ||
                              Variant() == QLatin1String("noshouldlog");
        QCOMPARE(AllTexts(), canWrite ? QStringList{kDirectLine} : QStringList());
        if (canWrite)
            QCOMPARE(LogRecorder::Lines()[0].severity, -1);
    }

    void serverErrorsReachTheLogWithExactText()
    {
        UIRemoteControl remote(nullptr, nullptr, nullptr);
        QVariant value;
        QVERIFY(!remote.controlObject(QVariantMap{{"nothing", QVariantMap()}}, value));
        if (!WritesAtAll()) {
            QCOMPARE(AllTexts(), QStringList());
            return;
        }
        if (Refuses(2)) {
            QCOMPARE(ErrorLines(), QStringList());
            return;
        }
        QCOMPARE(ErrorLines(), QStringList({"UIRemoteControl::Action, control type not support"}));
        QVERIFY(QString::fromStdString(LogRecorder::Lines().back().file).endsWith(QLatin1String("src/dispatch/Dispatch.cpp")));
    }

    // Two lookups over TCP go through the server, the dispatch, the object search with its route
    // snapshots and, for the failed one, an error line: every one of those sites asks the filter
    // first.
    void serverRoundTripWritesOnlyWhatTheFilterAccepts()
    {
        QObject root;
        root.setObjectName(QStringLiteral("root"));
        UIRemoteControl remote(&root, nullptr, FreePort(), nullptr);
        QVERIFY(remote.IsListening());
        ReplyClient client;
        client.ConnectTo(remote.ServerPort());
        QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);
        LogRecorder::Clear();
        client.Send(R"({"getpro": {"objname": "root", "property": "objectName"}})"
                    R"({"getpro": {"objname": "nowhere", "property": "objectName"}})");
        QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 2, 5000);
        QCOMPARE(client.replies[0], (QJsonObject{{"result", true}, {"value", "root"}}));
        QCOMPARE(client.replies[1], (QJsonObject{{"result", false}}));
        if (!WritesAtAll()) {
            QCOMPARE(AllTexts(), QStringList());
            return;
        }
        QCOMPARE(ErrorLines(), Refuses(2) ? QStringList()
                                          : QStringList{"UIRemoteControl::FindNamedQMLObject, can not find QObject nowhere"});
        QCOMPARE(LogTexts(3).isEmpty(), Refuses(3));
        QCOMPARE(LogTexts(5).isEmpty(), Refuses(5));
        QCOMPARE(LogTexts(2).size() + LogTexts(3).size() + LogTexts(5).size(), AllTexts().size());
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
