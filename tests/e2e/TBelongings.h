// What a process holds that one start of the plug-in could leave behind for the next.
#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

// One look at the process. The memory is what is allocated, as the allocator counts it, not what
// the system has lent: it goes back to the same figure when everything was freed.
struct TBelongings
{
    static TBelongings Now();

    int threads = 0;
    int files = 0;
    qint64 heapBytes = 0;
    qint64 residentBytes = 0; // for information: it depends on how the heap is cut up
};

// Looks after each of many equal rounds, and how the heap grows with them. A cache that is filled
// once, early or late, is no growth; a few bytes in each round are.
class TRoundRecord
{
public:
    // The record itself is not to grow.
    explicit TRoundRecord(int rounds = 0) { m_rounds.reserve(rounds); }

    void Note(const TBelongings& belongings) { m_rounds.append(belongings); }

    int Count() const { return m_rounds.size(); }
    // What the process had when everything was there that it makes once. At least ten rounds.
    const TBelongings& Settled() const { return m_rounds[m_rounds.size() / 10]; }
    const TBelongings& Last() const { return m_rounds.last(); }
    // Allocated bytes that each round adds: the median of what every stretch of a quarter of the
    // rounds added, after the settling. What was made once, at whatever time, is in fewer than
    // half.
    double HeapBytesARound() const;
    // Figures for people.
    QString ToText() const;

private:
    QVector<TBelongings> m_rounds;
};
