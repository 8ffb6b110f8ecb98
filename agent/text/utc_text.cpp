#include "agent/text/utc_text.h"

#include <chrono>
#include <cstdio>

#include "platform/clock.h"

namespace orrery::agent {

namespace {

constexpr int64_t epochSeconds = 11'644'473'600;  // from 1601-01-01 to 1970-01-01

// Reads from the front of a text and remembers whether all of it was as expected.
class Reader {
  public:
    explicit Reader(std::string_view input) : text(input) {}

    bool Failed() const { return failed; }
    bool AtEnd() const { return text.empty(); }

    bool Skip(char wanted) {
        if (text.empty() || text.front() != wanted) return false;
        text.remove_prefix(1);
        return true;
    }
    void Expect(char wanted) { failed |= !Skip(wanted); }

    int Number(size_t digits, int least, int most) {
        int number = 0;
        for (size_t i = 0; i < digits; ++i) number = number * 10 + Digit();
        failed |= number < least || number > most;
        return number;
    }

    // What follows the point, as milliseconds; further digits are cut off.
    int Fraction() {
        int milliseconds = Digit() * 100;
        for (int unit = 10; !text.empty() && text.front() >= '0' && text.front() <= '9'; unit /= 10) {
            milliseconds += Digit() * unit;
        }
        return milliseconds;
    }

  private:
    int Digit() {
        if (text.empty() || text.front() < '0' || text.front() > '9') {
            failed = true;
            return 0;
        }
        const int digit = text.front() - '0';
        text.remove_prefix(1);
        return digit;
    }

    std::string_view text;
    bool failed = false;
};

int64_t ReadDate(Reader& reader) {
    using namespace std::chrono;
    const int years = reader.Number(4, 1, 9999);
    reader.Expect('-');
    const int months = reader.Number(2, 1, 12);
    reader.Expect('-');
    const int days = reader.Number(2, 1, 31);
    const year_month_day date{year(years), month(static_cast<unsigned>(months)),
                              day(static_cast<unsigned>(days))};
    return date.ok() ? sys_days(date).time_since_epoch().count() : INT64_MIN;
}

int64_t ReadTimeOfDay(Reader& reader) {
    int64_t milliseconds = int64_t{reader.Number(2, 0, 23)} * 3'600'000;
    reader.Expect(':');
    milliseconds += reader.Number(2, 0, 59) * 60'000;
    if (!reader.Skip(':')) return milliseconds;
    milliseconds += reader.Number(2, 0, 59) * 1000;
    return reader.Skip('.') ? milliseconds + reader.Fraction() : milliseconds;
}

// True if the text names its zone.
bool ReadZone(Reader& reader, int64_t& seconds) {
    seconds = 0;
    if (reader.Skip('Z')) return true;
    const bool west = reader.Skip('-');
    if (!west && !reader.Skip('+')) return false;
    seconds = int64_t{reader.Number(2, 0, 23)} * 3600;
    reader.Expect(':');
    seconds += reader.Number(2, 0, 59) * 60;
    if (west) seconds = -seconds;
    return true;
}

// The zone's offset just before a change of the clocks decides for the hour that the change skips or repeats.
int64_t LocalToUtc(int64_t milliseconds) {
    const int64_t seconds = milliseconds / 1000;
    const int64_t guess = seconds - platform::LocalOffset(seconds);
    return milliseconds - platform::LocalOffset(guess) * 1000;
}

}  // namespace

int64_t NowMilliseconds() {
    return platform::SystemTicks() / (platform::ticksPerSecond / 1000) - epochSeconds * 1000;
}

std::string UtcText(int64_t milliseconds) {
    using namespace std::chrono;
    const sys_time<std::chrono::milliseconds> moment{std::chrono::milliseconds(milliseconds)};
    const auto midnight = floor<days>(moment);
    const year_month_day date(midnight);
    const hh_mm_ss time(moment - midnight);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    return text;
}

bool ParseTimeText(std::string_view text, UnnamedZone unnamed, int64_t& milliseconds) {
    Reader reader(text);
    const int64_t days = ReadDate(reader);
    if (!reader.Skip('T')) reader.Expect(' ');
    const int64_t timeOfDay = ReadTimeOfDay(reader);
    int64_t zone = 0;
    const bool zoned = ReadZone(reader, zone);
    if (reader.Failed() || !reader.AtEnd() || days == INT64_MIN) return false;

    const int64_t moment = days * 86'400'000 + timeOfDay - zone * 1000;
    milliseconds = unnamed == UnnamedZone::Local && !zoned ? LocalToUtc(moment) : moment;
    return true;
}

}  // namespace orrery::agent
