// An Initialise that runs out of memory: the exception passes, and nothing half built stays.
#include "support/GuiTestMain.h"
#include "tests/plugin/TPluginFixture.h"
#include "worker/TKelvoThreadObject.h"

#include <QtTest/QtTest>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// How many allocations of this thread succeed before one fails; negative: all of them do.
thread_local int t_allocationsLeft = -1;
// The size of which no allocation of this thread succeeds; 0: none. For what comes later, where Qt
// allocates too and cannot go on without.
thread_local std::size_t t_failingBytes = 0;

// So that nothing else is as large as its copy.
constexpr int hostNameLength = 1234;

void* Allocate(std::size_t size)
{
    if (t_allocationsLeft == 0) {
        t_allocationsLeft = -1;
        throw std::bad_alloc();
    }
    if (t_failingBytes != 0 && size == t_failingBytes)
        throw std::bad_alloc();
    if (t_allocationsLeft > 0)
        --t_allocationsLeft;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

} // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}

void* operator new[](std::size_t size)
{
    return Allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

class tst_FailedInitialise : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theExceptionPassesAndTheRootObjectIsNotSet_data();
    void theExceptionPassesAndTheRootObjectIsNotSet();
    void noHubStaysWhenThereIsNoWorker_data();
    void noHubStaysWhenThereIsNoWorker();
};

void tst_FailedInitialise::theExceptionPassesAndTheRootObjectIsNotSet_data()
{
    QTest::addColumn<int>("succeeding");
    QTest::newRow("the root object") << 0;
    QTest::newRow("the hub") << 1;
    QTest::newRow("within the hub") << 2;
}

void tst_FailedInitialise::theExceptionPassesAndTheRootObjectIsNotSet()
{
    QFETCH(int, succeeding);
    TPluginFixture f;
    bool passed = false;
    try {
        t_allocationsLeft = succeeding;
        f.Initialise();
    } catch (const std::bad_alloc&) {
        passed = true;
    }
    t_allocationsLeft = -1;
    QVERIFY(passed);
    QVERIFY(dll == nullptr);
    QCOMPARE(UserLevels, static_cast<const TAppUserLevels*>(&f.levels));
    Finalise(); // does nothing
    QVERIFY(f.windowManager.calls.isEmpty());

    f.Initialise();
    QVERIFY(dll != nullptr);
    QVERIFY(KelvoInterface != nullptr);
}

void tst_FailedInitialise::noHubStaysWhenThereIsNoWorker_data()
{
    QTest::addColumn<int>("failingBytes");
    QTest::newRow("the worker") << static_cast<int>(sizeof(TKelvoThreadObject));
    QTest::newRow("the worker's copy of the host's name")
        << static_cast<int>((hostNameLength + 1) * sizeof(wchar_t));
}

void tst_FailedInitialise::noHubStaysWhenThereIsNoWorker()
{
    QFETCH(int, failingBytes);
    TPluginFixture f;
    const QString hostName(hostNameLength, QLatin1Char('h'));
    const auto initialise = [&] {
        ::Initialise(nullptr, &f.gps, hostName, &f.levels, &f.features);
    };
    t_failingBytes = static_cast<std::size_t>(failingBytes);
    bool passed = false;
    try {
        initialise();
    } catch (const std::bad_alloc&) {
        passed = true;
    }
    t_failingBytes = 0;
    QVERIFY(passed);
    QVERIFY(dll == nullptr);
    QVERIFY(GetKelvoInterface() == nullptr);

    initialise();
    QVERIFY(GetKelvoInterface() != nullptr);
}

KELVO_GUI_TEST_MAIN(tst_FailedInitialise)
#include "tst_FailedInitialise.moc"
