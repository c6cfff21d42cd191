#include "tests/e2e/TProcessUsage.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <vector>

#include <malloc.h>
#include <unistd.h>

// A sanitizer's allocator replaces the C library's allocator, whose count is 0 then.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace {

int Count(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

qint64 HeapBytes()
{
    if (&__sanitizer_get_current_allocated_bytes != nullptr)
        return static_cast<qint64>(__sanitizer_get_current_allocated_bytes());
    const struct mallinfo2 info = ::mallinfo2(); // all arenas
    return static_cast<qint64>(info.uordblks + info.hblkhd);
}

qint64 ResidentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * ::sysconf(_SC_PAGESIZE);
}

} // namespace

TProcessUsage TProcessUsage::Now()
{
    return {Count(QStringLiteral("/proc/self/task")), Count(QStringLiteral("/proc/self/fd")),
            HeapBytes(), ResidentBytes()};
}

double TRoundRecord::HeapBytesARound() const
{
    const int rounds = m_rounds.size();
    const int stretch = rounds / 4;
    std::vector<qint64> added;
    for (int i = rounds / 10; i + stretch < rounds; ++i)
        added.push_back(m_rounds[i + stretch].heapBytes - m_rounds[i].heapBytes);
    const auto middle = added.begin() + static_cast<std::ptrdiff_t>(added.size() / 2);
    std::nth_element(added.begin(), middle, added.end());
    return static_cast<double>(*middle) / stretch;
}

QString TRoundRecord::ToText() const
{
    const auto one = [](const char* when, const TProcessUsage& usage) {
        return QStringLiteral("%1: heap %2 bytes, resident %3 KiB, %4 threads, %5 descriptors; ")
            .arg(QLatin1String(when))
            .arg(usage.heapBytes)
            .arg(usage.residentBytes / 1024)
            .arg(usage.threads)
            .arg(usage.files);
    };
    return QStringLiteral("%1 rounds; ").arg(m_rounds.size()) + one("first", m_rounds.first()) +
           one("after warm-up", AfterWarmUp()) + one("last", m_rounds.last()) +
           QStringLiteral("growth of the heap: %1 bytes a round").arg(HeapBytesARound(), 0, 'f', 1);
}
