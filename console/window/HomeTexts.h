// The texts of the home page.
#pragma once

#include "console/position/PositionState.h"
#include "console/session/TFolderCounter.h"
#include "kesdkimpl/LinkStatus.h"

#include <QtCore/QString>
#include <QtCore/QVector>

#include <array>
#include <optional>

namespace console {

// What the console knows.
struct THomeState
{
    struct TServiceCount
    {
        int files = 0;
        int isNew = 0; // how many files the operator has not seen yet
    };

    bool isLoggedIn = false;
    // Empty: the service has not listed the category, or the operator is logged out.
    std::array<std::optional<TServiceCount>, KELVO_PROJECT_COUNT> service;
    std::optional<TFolderFigures> folders; // empty: not counted yet, or the medium is silent
    kesdkimpl::LinkStatus link;
    TPositionState position;

    int NewFiles() const; // the number in all categories
};

// A title and lines of text.
struct THomeCard
{
    QString title;
    QString badge; // empty: no badge
    QString text;

    bool operator==(const THomeCard& other) const;
};

// A card for each category, in the order of EKelvoProjects.
QVector<THomeCard> CategoryCards(const THomeState& state);
// Cards for the link, the position and the storage.
QVector<THomeCard> StateCards(const THomeState& state);
// Such as "3 new"; empty for 0.
QString BadgeText(int isNew);

} // namespace console
