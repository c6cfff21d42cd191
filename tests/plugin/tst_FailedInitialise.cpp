// An Initialise that runs out of memory: the exception passes, and nothing half built stays.
#include "support/GuiTestMain.h"
#include "tests/plugin/TPluginFixture.h"

#include <QtTest/QtTest>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// How many allocations of this thread succeed before one fails; negative: all of them do.
thread_local int t_allocationsLeft = -1;

void* Allocate(std::size_t size)
{
    if (t_allocationsLeft == 0) {
        t_allocationsLeft = -1;
        throw std::bad_alloc();
    }
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

KELVO_GUI_TEST_MAIN(tst_FailedInitialise)
#include "tst_FailedInitialise.moc"
