#include "console/position/nmea/TNmeaReader.h"

#include <utility>

namespace console {

TNmeaReader::TNmeaReader(TOnSentence onSentence) : m_onSentence(std::move(onSentence))
{
    m_text.reserve(maxSentenceBytes);
}

void TNmeaReader::Take(std::string_view bytes)
{
    for (const char byte : bytes) {
        Take(byte);
    }
}

void TNmeaReader::Restart()
{
    EndSentence(); // the checksum shows whether the sentence is whole
    m_place = EPlace::eLineBegin;
}

void TNmeaReader::Take(char byte)
{
    if (byte == '\n' || byte == '\r') {
        EndSentence();
        m_place = EPlace::eLineBegin;
        return;
    }
    switch (m_place) {
    case EPlace::eLineBegin:
        if (byte == '#' || byte == '{') {
            m_place = EPlace::eForeignLine;
        } else if (byte == '$') {
            BeginSentence();
        } else if (byte != ' ') {
            m_place = EPlace::eBetween;
        }
        break;
    case EPlace::eBetween:
    case EPlace::eSkip:
        if (byte == '$') {
            BeginSentence();
        }
        break;
    case EPlace::eSentence:
        if (byte == '$') {
            EndSentence();
            BeginSentence();
        } else {
            Collect(byte);
        }
        break;
    case EPlace::eForeignLine:
        break;
    }
}

void TNmeaReader::BeginSentence()
{
    m_place = EPlace::eSentence;
    m_text.assign(1, '$');
}

void TNmeaReader::Collect(char byte)
{
    if (byte < ' ' || byte > '~') {
        ++m_counts.notText;
        m_place = EPlace::eSkip;
    } else if (m_text.size() == maxSentenceBytes) {
        ++m_counts.tooLong;
        m_place = EPlace::eSkip;
    } else {
        m_text += byte;
    }
}

void TNmeaReader::EndSentence()
{
    if (m_place != EPlace::eSentence) {
        return;
    }
    TNmeaSentence sentence;
    switch (ReadSentence(m_text, sentence)) {
    case EReading::eRead:
        ++m_counts.positions;
        m_onSentence(sentence);
        break;
    case EReading::eMotion:
        ++m_counts.others;
        m_onSentence(sentence);
        break;
    case EReading::eOtherKind:
        ++m_counts.others;
        break;
    case EReading::eNoChecksum:
        ++m_counts.noChecksum;
        break;
    case EReading::eBadChecksum:
        ++m_counts.badChecksum;
        break;
    case EReading::eMalformed:
        ++m_counts.malformed;
        break;
    }
}

} // namespace console
