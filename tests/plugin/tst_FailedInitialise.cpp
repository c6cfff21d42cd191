// An Initialise that runs out of memory passes the exception on and deletes what it had created.
#include "support/GuiTestMain.h"
#include "tests/plugin/TPluginFixture.h"
#include "worker/TKelvoThreadObject.h"

#include <QtTest/QtTest>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// The number of allocations of this thread that succeed before one fails. Negative: all succeed.
thread_local int t_allocationsLeft = -1;
// Allocations of this size fail on this thread; 0: none fail. Used for later allocations, because
// Qt allocates in between and cannot continue after a failure.
thread_local std::size_t t_failingBytes = 0;

// Long, so that no other allocation has the size of its copy.
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
    void passesTheExceptionOnAndLeavesTheRootObjectNull_data();
    void passesTheExceptionOnAndLeavesTheRootObjectNull();
    void deletesTheHubIfTheWorkerCannotBeCreated_data();
    void deletesTheHubIfTheWorkerCannotBeCreated();
};

void tst_FailedInitialise::passesTheExceptionOnAndLeavesTheRootObjectNull_data()
{
    QTest::addColumn<int>("succeeding");
    QTest::newRow("the root object") << 0;
    QTest::newRow("the hub") << 1;
    QTest::newRow("within the hub") << 2;
}

void tst_FailedInitialise::passesTheExceptionOnAndLeavesTheRootObjectNull()
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

void tst_FailedInitialise::deletesTheHubIfTheWorkerCannotBeCreated_data()
{
    QTest::addColumn<int>("failingBytes");
    QTest::newRow("the worker") << static_cast<int>(sizeof(TKelvoThreadObject));
    QTest::newRow("the worker's copy of the host's name")
        << static_cast<int>((hostNameLength + 1) * sizeof(wchar_t));
}

void tst_FailedInitialise::deletesTheHubIfTheWorkerCannotBeCreated()
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
