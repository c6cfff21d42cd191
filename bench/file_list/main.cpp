// Measures how long the file controller takes to list many names again with some of them selected.
// Compares with Qt's own list, which clears, adds and selects: once with the default, which
// measures each entry, and once with uniform item sizes. Each list is in a window on an invisible
// display.
//
//   kelvo_bench_file_list [--names N] [--selected N] [--rounds N]
//
// Prints milliseconds: of the call alone, and until the window has drawn the list.
#include "core/TKelvoInterface.h"
#include "host/TListWidget.h"
#include "hostimpl/Folders.h"
#include "hostimpl/TConfigStore.h"
#include "screens/TKelvoFileControlWidget.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QElapsedTimer>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

constexpr QSize windowSize(1000, 700);
constexpr double nsPerMs = 1e6;
constexpr double aimMs = 50;

struct TTime
{
    double callMs;
    double drawnMs;
};

// One contestant: a window with a list that can be filled again.
class TContestant
{
public:
    virtual ~TContestant() = default;
    virtual void FillAnew() = 0;
    virtual QListWidget& List() = 0;

    TTime Measure()
    {
        QElapsedTimer timer;
        timer.start();
        FillAnew();
        const auto callNs = timer.nsecsElapsed();
        QCoreApplication::processEvents(); // lays out and draws
        const auto drawnNs = timer.nsecsElapsed();
        return {static_cast<double>(callNs) / nsPerMs, static_cast<double>(drawnNs) / nsPerMs};
    }

protected:
    void Show()
    {
        m_window.resize(windowSize);
        m_window.show();
        QCoreApplication::processEvents();
    }
    QWidget m_window;
};

class TFileController : public TContestant
{
public:
    explicit TFileController(const QStringList& names) : m_controller(&m_window)
    {
        QString errorText;
        hostimpl::TConfigStore::Process().Open(m_folder.filePath(QStringLiteral("console.json")));
        if (!hostimpl::SetDataFolder(m_folder.path()) || !hostimpl::CreateFolders(errorText)) {
            throw std::runtime_error(errorText.toStdString());
        }
        KelvoInterface->OnLoggedIntoKelvo(); // so that the list shows the service's maps
        m_controller.Setup();
        m_controller.resize(windowSize);
        Show();
        KelvoFileInfoList listing;
        for (const QString& name : names) {
            listing.fileIds << listing.fileIds.size() + 1;
            listing.fileNames << name;
        }
        KelvoInterface->OnNewKelvoProjectFilesList(ePrescriptionMaps, listing);
    }

    void FillAnew() override { m_controller.UpdateFileListWidget(true); }
    QListWidget& List() override { return *m_controller.findChild<TListWidget*>(); }

private:
    const QTemporaryDir m_folder;
    TKelvoFileControlWidget m_controller;
};

class TPlainList : public TContestant
{
public:
    TPlainList(QStringList names, bool isUniform) : m_names(std::move(names)), m_list(&m_window)
    {
        m_list.setUniformItemSizes(isUniform);
        m_list.setSelectionMode(QAbstractItemView::MultiSelection);
        m_list.resize(windowSize);
        Show();
        FillAnew();
    }

    void FillAnew() override
    {
        QSet<QString> selected;
        const QList<QListWidgetItem*> items = m_list.selectedItems();
        for (const QListWidgetItem* const item : items) {
            selected.insert(item->text());
        }
        m_list.clear();
        for (const QString& name : m_names) {
            m_list.addItem(name);
        }
        for (int row = 0; row < m_list.count(); ++row) {
            if (selected.contains(m_list.item(row)->text())) {
                m_list.item(row)->setSelected(true);
            }
        }
    }
    QListWidget& List() override { return m_list; }

private:
    const QStringList m_names;
    QListWidget m_list;
};

QStringList NamesOf(int count)
{
    QStringList names;
    for (int i = 0; i < count; ++i) {
        names << QStringLiteral("2024-05-17 field %1 prescription.zip")
                     .arg(i, 6, 10, QLatin1Char('0'));
    }
    return names;
}

// Not neighbours, which a list could store as one range.
void Select(QListWidget& list, int count)
{
    const int step = list.count() / count;
    for (int i = 0; i < count; ++i) {
        list.item(i * step)->setSelected(true);
    }
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double Worst(const std::vector<double>& values)
{
    return *std::max_element(values.begin(), values.end());
}

// Prints the time of each contestant, and the ratio of the first to each other one.
void Print(const char* what, const std::array<std::vector<double>, 3>& times)
{
    constexpr const char* names[] = {"file controller", "plain QListWidget", "with uniform sizes"};
    std::printf("%s:", what);
    for (std::size_t which = 0; which < times.size(); ++which) {
        const std::vector<double>& own = times.at(which);
        std::vector<double> ratios;
        for (std::size_t round = 0; round < own.size(); ++round) {
            ratios.push_back(times[0][round] / own[round]);
        }
        std::printf("%s %s %.1f ms (worst %.1f)", which == 0 ? "" : ",", names[which], Median(own),
                    Worst(own));
        if (which > 0) {
            std::printf(", ratio %.2f", Median(ratios));
        }
    }
    std::printf("\n");
}

void CheckThatAllCameBack(QListWidget& list, int names, int selected)
{
    if (list.count() != names || list.selectedItems().size() != selected) {
        throw std::runtime_error("the names or the selection did not come back");
    }
}

void Run(int names, int selected, int rounds)
{
    TFileController controller(NamesOf(names));
    TPlainList plain(NamesOf(names), false);
    TPlainList uniform(NamesOf(names), true);
    const std::array<TContestant*, 3> contestants = {&controller, &plain, &uniform};
    for (TContestant* const contestant : contestants) {
        Select(contestant->List(), selected);
    }
    std::array<std::vector<double>, 3> called;
    std::array<std::vector<double>, 3> drawn;
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < contestants.size(); ++turn) {
            // The first contestant changes with each round.
            const std::size_t which = (static_cast<std::size_t>(round) + turn) % contestants.size();
            const TTime time = contestants.at(which)->Measure();
            called.at(which).push_back(time.callMs);
            drawn.at(which).push_back(time.drawnMs);
            CheckThatAllCameBack(contestants.at(which)->List(), names, selected);
        }
    }
    std::printf("%d names, %d selected, medians of %d rounds\n", names, selected, rounds);
    Print("filled anew", called);
    Print("and drawn", drawn);
    std::printf("aim: below %.0f ms: %s\n", aimMs, Median(called[0]) < aimMs ? "met" : "missed");
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QCommandLineParser parser;
    const auto option = [&parser](const QString& name, const QString& value) {
        parser.addOption({name, QString(), QStringLiteral("number"), value});
    };
    option(QStringLiteral("names"), QStringLiteral("10000"));
    option(QStringLiteral("selected"), QStringLiteral("100"));
    option(QStringLiteral("rounds"), QStringLiteral("15"));
    parser.process(application);
    const auto value = [&parser](const char* name) {
        return std::max(parser.value(QLatin1String(name)).toInt(), 1);
    };
    const std::unique_ptr<TKelvoInterface> hub = std::make_unique<TKelvoInterface>();
    KelvoInterface = hub.get();
    try {
        Run(std::max(value("names"), value("selected")), value("selected"), value("rounds"));
    } catch (const std::runtime_error& failure) {
        std::fprintf(stderr, "kelvo_bench_file_list: %s\n", failure.what());
        return 1;
    }
    return 0;
}
