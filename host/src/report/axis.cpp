#include "host/src/report/axis.h"

#include <array>
#include <chrono>

namespace fictl {

namespace {

using namespace std::chrono_literals;
using std::chrono::days;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr seconds STEPS[] = {1min, 5min, 15min, 30min, 1h, 3h, 6h, 12h, 24h, days(2), days(7), days(14)};
constexpr int MONTH_STEPS[] = {1, 2, 3, 6, 12, 24, 60, 120, 600, 1200};
// A Monday, so that weeks begin with one.
constexpr UtcTime BEGIN_OF_WEEKS = sys_days(year_month_day(1970y, std::chrono::January, 5d));

std::string twoDigits(int64_t number)
{
    return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string monthName(std::chrono::month month)
{
    constexpr std::array NAMES = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return NAMES.at(static_cast<unsigned>(month) - 1);
}

std::string dayText(UtcTime time, bool withClock)
{
    const sys_days day = std::chrono::floor<days>(time);
    const year_month_day date(day);
    std::string text = std::to_string(static_cast<unsigned>(date.day())) + " " + monthName(date.month());
    if (!withClock) return text;
    const std::chrono::hh_mm_ss clock(std::chrono::floor<seconds>(time - day));
    return text + " " + twoDigits(clock.hours().count()) + ":" + twoDigits(clock.minutes().count());
}

std::vector<STick> ticksBySeconds(UtcTime from, UtcTime until, seconds step)
{
    std::vector<STick> ticks;
    const auto number = (from - BEGIN_OF_WEEKS) / step;
    for (UtcTime time = BEGIN_OF_WEEKS + number * step; time <= until; time += step) {
        if (time >= from) ticks.push_back({time, dayText(time, step < 24h)});
    }
    return ticks;
}

std::vector<STick> ticksByMonths(UtcTime from, UtcTime until, int step)
{
    constexpr int OF_A_YEAR = 12;
    std::vector<STick> ticks;
    const year_month_day first(std::chrono::floor<days>(from));
    for (int month = static_cast<int>(first.year()) * OF_A_YEAR / step * step;; month += step) {
        const std::chrono::year year(month / OF_A_YEAR);
        const std::chrono::month in(static_cast<unsigned>(month % OF_A_YEAR) + 1);
        const UtcTime time = sys_days(year_month_day(year, in, 1d));
        if (time > until) return ticks;
        const std::string number = std::to_string(static_cast<int>(year));
        if (time >= from) ticks.push_back({time, step < OF_A_YEAR ? monthName(in) + " " + number : number});
    }
}

}  // namespace

std::vector<STick> ticksOf(UtcTime from, UtcTime until, size_t most)
{
    for (const seconds step : STEPS) {
        if ((until - from) / step < static_cast<int64_t>(most)) return ticksBySeconds(from, until, step);
    }
    constexpr auto MONTH = std::chrono::duration_cast<seconds>(std::chrono::months(1));
    for (const int step : MONTH_STEPS) {
        if ((until - from) / (step * MONTH) < static_cast<int64_t>(most)) return ticksByMonths(from, until, step);
    }
    return {};
}

}  // namespace fictl
