// The threads, descriptors and memory of the process, to find a leak of the plug-in.
#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

// The usage at one moment. The heap is the allocator's count of allocated bytes, not the pages of
// the process. So the count is the same again after everything was freed.
struct TProcessUsage
{
    static TProcessUsage Now();

    int threads = 0;
    int files = 0;
    qint64 heapBytes = 0;
    qint64 residentBytes = 0; // for information only: depends on the heap's fragmentation
};

// The usage after each of many equal rounds, and the growth of the heap. A cache that is filled
// once, early or late, is no growth. A few bytes in each round are growth.
class TRoundRecord
{
public:
    // Reserves the memory, so that the record itself does not grow.
    explicit TRoundRecord(int rounds = 0) { m_rounds.reserve(rounds); }

    void Record(const TProcessUsage& usage) { m_rounds.append(usage); }

    int Count() const { return m_rounds.size(); }
    // The usage after the first tenth of the rounds, when one-time allocations exist. Needs at
    // least ten rounds.
    const TProcessUsage& AfterWarmUp() const { return m_rounds[m_rounds.size() / 10]; }
    const TProcessUsage& Last() const { return m_rounds.last(); }
    // The bytes that each round adds: the median of the growth over every stretch of a quarter of
    // the rounds after `AfterWarmUp`. A one-time allocation is in fewer than half of the stretches.
    double HeapBytesARound() const;
    // The figures as a text for the test's output.
    QString ToText() const;

private:
    QVector<TProcessUsage> m_rounds;
};
