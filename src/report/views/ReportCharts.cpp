#include "report/views/ReportCharts.h"

#include <QBarSeries>
#include <QBarSet>
#include <QStackedBarSeries>
#include <QCategoryAxis>
#include <QChart>
#include <QChartView>
#include <QDate>
#include <QHeaderView>
#include <QLegendMarker>
#include <QLocale>
#include <QScatterSeries>
#include <QTableWidget>
#include <QToolTip>
#include <QCursor>
#include <QValueAxis>
#include <algorithm>
#include <initializer_list>

#include "report/figures/ReportCsv.h"

namespace {

const QColor NotSavedColour(150, 150, 150);
const QColor StartUpColour(230, 140, 0);
const QColor PeakColour(200, 0, 0);

QString Text(const std::string& s) { return QString::fromStdString(s); }

// Distinct units of the shown tags, joined ("kWh, m3"); "" when none is named.
QString Units(const StoreMonth& month, const std::vector<int>& tags, bool demand)
{
    std::vector<std::string> seen;
    for (int t : tags) {
        const TagUnits& u = month.Tag(t).Units;
        const std::string& unit = demand ? u.Demand : u.Quantity;
        if (!unit.empty() && std::find(seen.begin(), seen.end(), unit) == seen.end())
            seen.push_back(unit);
    }
    QStringList list;
    for (const std::string& s : seen)
        list << Text(s);
    return list.join(", ");
}

QString WithUnits(const QString& title, const QString& units)
{
    return units.isEmpty() ? title : title + " (" + units + ")";
}

// A bar axis numbered by index: bar i sits at x = i, labelled at the given indices.
QCategoryAxis* IndexAxis(int count, const std::vector<std::pair<int, QString>>& labels, const QString& title)
{
    auto* axis = new QCategoryAxis;
    axis->setRange(-0.5, count - 0.5);
    axis->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
    for (const auto& [index, label] : labels)
        axis->append(label, index);
    axis->setTitleText(title);
    axis->setGridLineVisible(false);
    return axis;
}

// Every two hours (or every hour with 24 periods), at the bar that starts then.
std::vector<std::pair<int, QString>> HourLabels(const StoreMonth& month)
{
    std::vector<std::pair<int, QString>> labels;
    const int perHour = month.PeriodsPerDay / 24;
    const int step = month.PeriodsPerDay == 24 ? 2 : 2 * perHour;
    for (int i = 0; i < month.PeriodsPerDay; i += step)
        labels.emplace_back(i, Text(ClockText(month.PeriodStartMinutes(i + 1))));
    return labels;
}

// The left axis for quantities; with a demand factor also a right axis reading the same bars as
// demand (quantity per hour), on the same scale.
QValueAxis* AddValueAxes(QChart* chart, QAbstractSeries* bars, QAbstractAxis* x, double low, double high,
                         const QString& leftTitle, double demandFactor, const QString& rightTitle)
{
    if (high <= low)
        high = low + 1;
    auto* left = new QValueAxis;
    left->setRange(low, high * 1.05);
    left->setTickCount(6);
    left->applyNiceNumbers();
    low = left->min();
    high = left->max();
    left->setTitleText(leftTitle);
    left->setLabelFormat("%.4g");
    chart->addAxis(left, Qt::AlignLeft);
    bars->attachAxis(x);
    bars->attachAxis(left);
    if (demandFactor > 0) {
        auto* right = new QValueAxis;
        right->setRange(low * demandFactor, high * demandFactor);
        right->setTickCount(left->tickCount());
        right->setTitleText(rightTitle);
        right->setLabelFormat("%.4g");
        right->setGridLineVisible(false);
        chart->addAxis(right, Qt::AlignRight);
        // An empty series holds the right axis in the chart.
        auto* anchor = new QScatterSeries;
        chart->addSeries(anchor);
        anchor->attachAxis(x);
        anchor->attachAxis(right);
        for (QLegendMarker* marker : chart->legend()->markers(anchor))
            marker->setVisible(false);
    }
    return left;
}

QScatterSeries* Markers(QChart* chart, const QString& name, const QColor& colour,
                        QScatterSeries::MarkerShape shape)
{
    auto* series = new QScatterSeries;
    series->setName(name);
    series->setColor(colour);
    series->setBorderColor(colour.darker());
    series->setMarkerShape(shape);
    series->setMarkerSize(11);
    chart->addSeries(series);
    return series;
}

void Attach(QChart* chart, QScatterSeries* series, QAbstractAxis* x, QAbstractAxis* y)
{
    if (series->count() == 0) {
        chart->removeSeries(series);
        delete series;
        return;
    }
    series->attachAxis(x);
    series->attachAxis(y);
}

// A day's axes: its periods below, the quantity on the left and the same bars as demand on the
// right. The markers share them, or leave the chart when they mark nothing.
void AddDayAxes(QChart* chart, QAbstractSeries* bars, const StoreMonth& month, double low, double high,
                const std::vector<int>& tags, const QString& quantity, const QString& demand,
                std::initializer_list<QScatterSeries*> markers)
{
    QCategoryAxis* x = IndexAxis(month.PeriodsPerDay, HourLabels(month), "Period start");
    chart->addAxis(x, Qt::AlignBottom);
    QValueAxis* left = AddValueAxes(chart, bars, x, low, high, WithUnits(quantity, Units(month, tags, false)),
                                    1.0 / month.PeriodHours(), WithUnits(demand, Units(month, tags, true)));
    for (QScatterSeries* series : markers)
        Attach(chart, series, x, left);
}

QChart* NewChart(const QString& title)
{
    auto* chart = new QChart;
    chart->setTitle(title);
    chart->setAnimationOptions(QChart::NoAnimation);
    chart->legend()->setAlignment(Qt::AlignBottom);
    return chart;
}

} // namespace

QString DayTitle(const StoreMonth& month, int day)
{
    return QLocale(QLocale::English).toString(QDate(month.Year, month.Month, day), "dddd d MMMM yyyy");
}

QString MonthTitle(const StoreMonth& month)
{
    return QLocale(QLocale::English).toString(QDate(month.Year, month.Month, 1), "MMMM yyyy");
}

QChart* MakeDayChart(const StoreMonth& month, const DayProfile& profile)
{
    QChart* chart = NewChart("Demand profile, " + DayTitle(month, profile.Day));
    auto* bars = new QBarSeries;
    double low = 0, high = 0;
    for (std::size_t i = 0; i < profile.Tags.size(); ++i) {
        auto* set = new QBarSet(Text(TagHeading(month.Tag(profile.Tags[i]))));
        QList<int> startUp;
        for (const PeriodFigure& f : profile.Periods) {
            *set << f.Quantity[i];
            low = std::min(low, f.Quantity[i]);
            high = std::max(high, f.Quantity[i]);
            if (f.State == PeriodState::AfterStartUp)
                startUp << f.Period - 1;
        }
        bars->append(set);
        set->selectBars(startUp);
    }
    bars->setBarWidth(0.9);
    chart->addSeries(bars);
    // Hovering a bar tells its period, quantity and demand in words.
    std::vector<TagUnits> units;
    for (int t : profile.Tags)
        units.push_back(month.Tag(t).Units);
    QObject::connect(bars, &QBarSeries::hovered, chart,
                     [units, profile, sets = bars->barSets()](bool on, int index, QBarSet* set) {
                         if (!on || index < 0 || index >= static_cast<int>(profile.Periods.size())) {
                             QToolTip::hideText();
                             return;
                         }
                         const PeriodFigure& f = profile.Periods[static_cast<std::size_t>(index)];
                         const std::size_t i = static_cast<std::size_t>(std::max<qsizetype>(0, sets.indexOf(set)));
                         QToolTip::showText(QCursor::pos(),
                                            QString("%1\nperiod %2, %3 to %4: %5\n%6 %7, demand %8 %9")
                                                .arg(set->label())
                                                .arg(f.Period)
                                                .arg(Text(ClockText(f.StartMinutes)), Text(ClockText(f.EndMinutes)))
                                                .arg(StateText(f.State))
                                                .arg(Text(FigureText(f.Quantity[i])), Text(units[i].Quantity))
                                                .arg(Text(FigureText(f.Demand[i])), Text(units[i].Demand)));
                     });
    // Bars of a first period after start-up are drawn pale: only part of the period was metered.
    // The colours are the theme's, known once the series is in the chart.
    for (QBarSet* set : bars->barSets())
        set->setSelectedColor(set->color().lighter(160));
    QScatterSeries* notSaved = Markers(chart, "not saved", NotSavedColour, QScatterSeries::MarkerShapeRectangle);
    QScatterSeries* startUp =
        Markers(chart, "first period after start-up", StartUpColour, QScatterSeries::MarkerShapeTriangle);
    for (const PeriodFigure& f : profile.Periods) {
        if (f.State == PeriodState::NotSaved)
            notSaved->append(f.Period - 1, 0);
        else if (f.State == PeriodState::AfterStartUp)
            startUp->append(f.Period - 1, 0);
    }
    AddDayAxes(chart, bars, month, low, high, profile.Tags, "Quantity per period", "Demand", {notSaved, startUp});
    return chart;
}

QChart* MakeMonthChart(const StoreMonth& month, const MonthTotals& totals)
{
    QChart* chart = NewChart("Daily totals, " + MonthTitle(month));
    auto* bars = new QBarSeries;
    double low = 0, high = 0;
    for (std::size_t i = 0; i < totals.Tags.size(); ++i) {
        auto* set = new QBarSet(Text(TagHeading(month.Tag(totals.Tags[i]))));
        for (const DayTotal& d : totals.Days) {
            *set << d.Total[i];
            low = std::min(low, d.Total[i]);
            high = std::max(high, d.Total[i]);
        }
        bars->append(set);
    }
    bars->setBarWidth(0.85);
    chart->addSeries(bars);
    QScatterSeries* notSaved =
        Markers(chart, "day with periods not saved", NotSavedColour, QScatterSeries::MarkerShapeRectangle);
    QScatterSeries* startUp =
        Markers(chart, "day with a start-up", StartUpColour, QScatterSeries::MarkerShapeTriangle);
    std::vector<std::pair<int, QString>> labels;
    for (const DayTotal& d : totals.Days) {
        labels.emplace_back(d.Day - 1, QString::number(d.Day));
        // Side by side when a day has both.
        const double shift = d.NotSaved > 0 && d.AfterStartUp > 0 ? 0.22 : 0.0;
        if (d.NotSaved > 0)
            notSaved->append(d.Day - 1 - shift, 0);
        if (d.AfterStartUp > 0)
            startUp->append(d.Day - 1 + shift, 0);
    }
    QCategoryAxis* x = IndexAxis(month.Days, labels, "Day");
    chart->addAxis(x, Qt::AlignBottom);
    QValueAxis* left =
        AddValueAxes(chart, bars, x, low, high, WithUnits("Total per day", Units(month, totals.Tags, false)), 0, {});
    Attach(chart, notSaved, x, left);
    Attach(chart, startUp, x, left);
    return chart;
}

QChart* MakeSiteChart(const StoreMonth& month, const SiteProfile& site)
{
    QChart* chart = NewChart("Site total, " + DayTitle(month, site.Day));
    // Each period's total goes into exactly one of the sets, so its colour says what it is.
    auto* bars = new QStackedBarSeries;
    auto* measured = new QBarSet(QString("site total of %1 tags").arg(site.Tags.size()));
    auto* startUp = new QBarSet("first period after start-up");
    auto* peak = new QBarSet("in the table of the 24 highest");
    double low = 0, high = 0;
    for (const SitePeriod& p : site.Periods) {
        const bool isPeak = p.PeakRank > 0;
        const bool partial = !isPeak && p.State == PeriodState::AfterStartUp;
        *measured << (isPeak || partial ? 0.0 : p.Total);
        *startUp << (partial ? p.Total : 0.0);
        *peak << (isPeak ? p.Total : 0.0);
        low = std::min(low, p.Total);
        high = std::max(high, p.Total);
    }
    bars->append({measured, startUp, peak});
    bars->setBarWidth(0.9);
    chart->addSeries(bars);
    startUp->setColor(StartUpColour.lighter(140));
    peak->setColor(PeakColour);
    QScatterSeries* peakMarks = Markers(chart, "peak rank", PeakColour, QScatterSeries::MarkerShapeStar);
    QScatterSeries* notSaved = Markers(chart, "not saved", NotSavedColour, QScatterSeries::MarkerShapeRectangle);
    for (const SitePeriod& p : site.Periods) {
        if (p.PeakRank > 0)
            peakMarks->append(p.Period - 1, p.Total);
        if (p.State == PeriodState::NotSaved)
            notSaved->append(p.Period - 1, 0);
    }
    for (QLegendMarker* marker : chart->legend()->markers(peakMarks))
        marker->setVisible(false);
    AddDayAxes(chart, bars, month, low, high, site.Tags, "Site total per period", "Site demand", {peakMarks, notSaved});
    return chart;
}

void FillTagTable(QTableWidget& table, const StoreMonth& month, const std::vector<TagRow>& rows)
{
    const QStringList headings = {"Tag", "Name", "Month total", "Unit", "Highest period", "Its demand",
                                  "Period ending", "Periods not saved", "After start-up"};
    table.clear();
    table.setColumnCount(static_cast<int>(headings.size()));
    table.setHorizontalHeaderLabels(headings);
    table.setRowCount(static_cast<int>(rows.size()));
    table.verticalHeader()->setVisible(false);
    table.setEditTriggers(QAbstractItemView::NoEditTriggers);
    auto cell = [&](int row, int column, const QString& text, bool number) {
        auto* item = new QTableWidgetItem(text);
        if (number)
            item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        table.setItem(row, column, item);
        return item;
    };
    for (int r = 0; r < static_cast<int>(rows.size()); ++r) {
        const TagRow& row = rows[static_cast<std::size_t>(r)];
        cell(r, 0, QString::number(row.Tag), true);
        cell(r, 1, Text(TagHeading(month.Tag(row.Tag))), false);
        if (row.HasHighest) {
            cell(r, 2, Text(FigureText(row.MonthTotal)), true);
            cell(r, 4, Text(FigureText(row.Highest)), true);
            cell(r, 5, Text(FigureText(row.HighestDemand)) + " " + Text(row.Units.Demand), true);
            cell(r, 6, Text(DateText(month.Year, month.Month, row.HighestDay) + " " + ClockText(row.HighestEndMinutes)),
                 false);
        } else {
            for (int c : {2, 4, 5, 6})
                cell(r, c, "not saved", false)->setForeground(NotSavedColour);
        }
        cell(r, 3, Text(row.Units.Quantity), false);
        QTableWidgetItem* missing = cell(r, 7, QString::number(row.NotSaved), true);
        if (row.NotSaved > 0)
            missing->setForeground(NotSavedColour.darker());
        QTableWidgetItem* started = cell(r, 8, QString::number(row.AfterStartUp), true);
        if (row.AfterStartUp > 0)
            started->setForeground(StartUpColour.darker());
    }
    table.resizeColumnsToContents();
    table.horizontalHeader()->setStretchLastSection(true);
}

QWidget* MakeViewWidget(const StoreMonth& month, ReportView view, int day, const std::vector<int>& tags,
                        const std::vector<PeakEntry>& peaks)
{
    QChart* chart = nullptr;
    switch (view) {
    case ReportView::Day:
        chart = MakeDayChart(month, MakeDayProfile(month, day, tags));
        break;
    case ReportView::Month:
        chart = MakeMonthChart(month, MakeMonthTotals(month, tags));
        break;
    case ReportView::Site:
        chart = MakeSiteChart(month, MakeSiteProfile(month, day, peaks));
        break;
    case ReportView::Tags: {
        auto* table = new QTableWidget;
        FillTagTable(*table, month, MakeTagTable(month, tags));
        return table;
    }
    }
    auto* chartView = new QChartView(chart);
    chartView->setRenderHint(QPainter::Antialiasing);
    return chartView;
}
