#include <algorithm>
#include <charconv>
#include <limits>
#include <map>
#include <system_error>

#include "songs/Score.h"

namespace keldra::songs {

namespace {

using Words = std::vector<std::string_view>;

/// What may stand behind a pattern's name, and silence.
constexpr std::string_view kUseMarks = "+-@*.";

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

template <typename Number>
std::optional<Number> Parse(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

/// The words of a line up to its comment; brackets make one word of what they hold.
Words WordsOf(std::string_view line)
{
    Words words;
    for (std::size_t i = 0; i < line.size();) {
        if (IsBlank(line[i])) {
            ++i;
            continue;
        }
        if (line[i] == '#')
            break;
        const std::size_t start = i;
        for (bool inBrackets = false; i < line.size() && (inBrackets || !IsBlank(line[i])); ++i)
            inBrackets = line[i] == '[' || (inBrackets && line[i] != ']');
        words.push_back(line.substr(start, i - start));
    }
    return words;
}

/// "c4" is 60, "bb-1" is 10, "g#3" is 56.
std::optional<int> ParseKey(std::string_view text)
{
    constexpr std::string_view kLetters = "c d ef g a b";
    if (text.empty())
        return std::nullopt;
    const std::size_t letter = kLetters.find(text.front());
    if (letter == std::string_view::npos || text.front() == ' ')
        return std::nullopt;
    int key = static_cast<int>(letter);
    text.remove_prefix(1);
    if (!text.empty() && (text.front() == '#' || text.front() == 'b')) {
        key += text.front() == '#' ? 1 : -1;
        text.remove_prefix(1);
    }
    const std::optional<int> octave = Parse<int>(text);
    if (!octave || *octave < -1 || *octave > 9)
        return std::nullopt;
    key += 12 * (*octave + 1);
    return key >= 0 && key <= 127 ? std::optional<int>(key) : std::nullopt;
}

class CReader {
public:
    std::optional<Score> Read(std::string_view text, std::string& error)
    {
        while (!text.empty() && error_.empty()) {
            const std::size_t end = text.find('\n');
            ++line_;
            ReadLine(WordsOf(text.substr(0, end)));
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        }
        if (error_.empty() && score_.sections.empty())
            Fail("no section");
        if (!error_.empty()) {
            error = error_;
            return std::nullopt;
        }
        return std::move(score_);
    }

private:
    void Fail(const std::string& what)
    {
        if (error_.empty())
            error_ = std::to_string(line_) + ": " + what;
    }
    void FailAt(const std::string& what, std::string_view word)
    {
        Fail(what + ": \"" + std::string(word) + "\"");
    }

    int ReadInt(std::string_view word, int least, int most)
    {
        const std::optional<int> value = Parse<int>(word);
        if (!value || *value < least || *value > most)
            FailAt("not a whole number from " + std::to_string(least) + " to " +
                       std::to_string(most),
                   word);
        return value.value_or(least);
    }

    void ReadLine(const Words& words)
    {
        if (words.empty())
            return;
        const bool isSteps = words[0] == "|" || (inPattern_ && !IsKeyword(words[0]));
        if (isSteps)
            return ReadSteps(words);
        if (inPattern_)
            EndPattern();
        if (words[0] == "part")
            ReadPart(words);
        else if (words[0] == "pattern")
            ReadPattern(words);
        else if (words[0] == "section")
            ReadSection(words);
        else if (!score_.sections.empty())
            ReadSectionLine(words);
        else
            ReadSetting(words);
    }

    static bool IsKeyword(std::string_view word)
    {
        constexpr std::string_view kKeywords[] = {"part", "pattern", "section"};
        return std::find(std::begin(kKeywords), std::end(kKeywords), word) != std::end(kKeywords);
    }

    void ReadSetting(const Words& words)
    {
        if (words.size() != 2)
            return FailAt("not understood", words[0]);
        if (words[0] == "tempo") {
            score_.tempoBpm = ReadInt(words[1], 10, 400);
        } else if (words[0] == "swing") {
            score_.swingPercent = ReadInt(words[1], 0, 100);
        } else if (words[0] == "meter") {
            const std::size_t slash = words[1].find('/');
            if (slash == std::string_view::npos)
                return FailAt("not a meter", words[1]);
            score_.beats = ReadInt(words[1].substr(0, slash), 1, 32);
            score_.unit = ReadInt(words[1].substr(slash + 1), 1, 16);
            if ((score_.unit & (score_.unit - 1)) != 0)
                FailAt("not a meter", words[1]);
        } else {
            FailAt("not understood", words[0]);
        }
    }

    void ReadPart(const Words& words)
    {
        if (words.size() < 2 || words.size() % 2 != 0)
            return Fail("a part is a name, then pairs of a word and a value");
        ScorePart part;
        part.name = words[1];
        part.channel = -1;
        for (std::size_t i = 2; i < words.size(); i += 2) {
            const std::string_view value = words[i + 1];
            if (words[i] == "channel")
                part.channel = ReadInt(value, 1, 16) - 1;
            else if (words[i] == "velocity")
                part.velocity = ReadInt(value, 1, 127);
            else if (words[i] == "uneven")
                part.uneven = ReadInt(value, 0, 64);
            else if (words[i] == "late")
                part.late = ReadInt(value, -kTicksPerQuarter, kTicksPerQuarter);
            else if (words[i] == "loose")
                part.loose = ReadInt(value, 0, kTicksPerQuarter);
            else if (words[i] == "gate")
                part.gatePercent = ReadInt(value, 1, 100);
            else if (words[i] == "hits" && ParseKey(value))
                part.hits = ParseKey(value);
            else
                return FailAt("not understood", words[i]);
        }
        if (part.channel < 0)
            return Fail("a part needs a channel");
        if (!partOf_.emplace(part.name, score_.parts.size()).second)
            return FailAt("a second part of this name", part.name);
        score_.parts.push_back(std::move(part));
    }

    void ReadPattern(const Words& words)
    {
        if (words.size() != 3 || !words[2].starts_with("1/"))
            return Fail("a pattern is a name and a length of its steps, such as 1/16");
        const int steps = ReadInt(words[2].substr(2), 1, 96); // in a whole note
        if (!error_.empty() || 4 * kTicksPerQuarter % steps != 0)
            return FailAt("not a length of steps", words[2]);
        ScorePattern pattern;
        pattern.name = words[1];
        pattern.stepTicks = 4 * kTicksPerQuarter / steps;
        if (pattern.name.find_first_of(kUseMarks) != std::string::npos)
            return FailAt("a name of a pattern holds none of \"+-@*.\"", pattern.name);
        if (!patternOf_.emplace(pattern.name, score_.patterns.size()).second)
            return FailAt("a second pattern of this name", pattern.name);
        score_.patterns.push_back(std::move(pattern));
        inPattern_ = true;
        barStart_ = 0;
    }

    void EndPattern()
    {
        inPattern_ = false;
        if (score_.patterns.back().steps == 0)
            Fail("the pattern before has no steps");
    }

    void ReadSteps(const Words& words)
    {
        if (!inPattern_)
            return Fail("steps without a pattern");
        ScorePattern& pattern = score_.patterns.back();
        for (const std::string_view word : words) {
            if (word == "|")
                EndBar(pattern);
            else if (word == ".")
                Rest(pattern);
            else if (word == "-")
                HoldNote(pattern);
            else
                AddNote(pattern, word);
        }
    }

    void EndBar(const ScorePattern& pattern)
    {
        const double ticks = static_cast<double>((pattern.steps - barStart_) * pattern.stepTicks);
        const double bar = score_.QuartersPerBar() * kTicksPerQuarter;
        if (ticks != 0.0 && ticks != bar)
            Fail("this bar is not a whole one");
        barStart_ = pattern.steps;
    }

    void Rest(ScorePattern& pattern)
    {
        ++pattern.steps;
        canHold_ = false;
    }

    void HoldNote(ScorePattern& pattern)
    {
        ++pattern.steps;
        if (!canHold_)
            return Fail("\"-\" without a note to hold");
        ++pattern.notes.back().steps;
    }

    void AddNote(ScorePattern& pattern, std::string_view word)
    {
        ScoreNote note;
        note.step = pattern.steps++;
        std::string_view keys = word;
        for (; !keys.empty(); keys.remove_suffix(1)) {
            if (keys.back() == '!')
                note.accent = 1;
            else if (keys.back() == '?')
                note.accent = -1;
            else if (keys.back() == '~')
                note.slur = true;
            else
                break;
        }
        if (keys.size() > 2 && keys.front() == '[' && keys.back() == ']') {
            for (const std::string_view key : WordsOf(keys.substr(1, keys.size() - 2)))
                AddKey(note, key);
        } else if (keys == "x") {
            note.keys.push_back(kHit);
        } else {
            AddKey(note, keys);
        }
        pattern.notes.push_back(std::move(note));
        canHold_ = true;
    }

    void AddKey(ScoreNote& note, std::string_view word)
    {
        const std::optional<int> key = ParseKey(word);
        if (!key)
            return FailAt("not a note", word);
        note.keys.push_back(*key);
    }

    void ReadSection(const Words& words)
    {
        if (words.size() != 3)
            return Fail("a section is a name and a number of bars");
        ScoreSection section;
        section.name = words[1];
        section.bars = ReadInt(words[2], 1, 1000);
        score_.sections.push_back(std::move(section));
    }

    void ReadSectionLine(const Words& words)
    {
        if (words[0] == "tempo")
            return ReadCurve({ECurve::Tempo, 0, 0, {}}, words, 1, 10.0, 400.0);
        const auto part = partOf_.find(words[0]);
        if (part == partOf_.end())
            return FailAt("no such part", words[0]);
        if (words.size() < 2)
            return Fail("what does this part play?");
        if (words[1] == "bend")
            return ReadCurve({ECurve::Bend, part->second, 0, {}}, words, 2, -1.0, 1.0);
        if (words[1].starts_with("cc") && patternOf_.find(words[1]) == patternOf_.end())
            return ReadCurve(
                {ECurve::Controller, part->second, ReadInt(words[1].substr(2), 0, 119), {}}, words,
                2, 0.0, 127.0);
        ScoreSection::Play play;
        play.part = part->second;
        for (std::size_t i = 1; i < words.size(); ++i)
            ReadUse(words[i], play);
        score_.sections.back().plays.push_back(std::move(play));
    }

    void ReadUse(std::string_view word, ScoreSection::Play& play)
    {
        const bool silent = word.starts_with('.');
        const std::size_t nameEnd =
            silent ? 1 : std::min(word.find_first_of(kUseMarks), word.size());
        const std::string_view name = word.substr(0, nameEnd);
        PatternUse use;
        use.pattern = PatternNamed(name);
        int times = 1;
        for (std::size_t at = nameEnd; at < word.size() && error_.empty();) {
            const std::size_t next = std::min(word.find_first_of(kUseMarks, at + 1), word.size());
            const std::string_view number = word.substr(at + 1, next - at - 1);
            if (word[at] == '*')
                times = ReadInt(number, 1, 1000);
            else if (word[at] == '@')
                use.percent = ReadInt(number, 1, 200);
            else
                use.transpose = ReadInt(number, 0, 60) * (word[at] == '-' ? -1 : 1);
            at = next;
        }
        play.patterns.insert(play.patterns.end(), static_cast<std::size_t>(times), use);
        const std::vector<ScoreNote>* const notes =
            error_.empty() ? &score_.patterns[use.pattern].notes : nullptr;
        const bool hits =
            notes != nullptr && std::any_of(notes->begin(), notes->end(),
                                            [](auto& n) { return n.keys.front() == kHit; });
        if (hits && !score_.parts[play.part].hits)
            FailAt("a pattern of \"x\" for a part without \"hits\"", name);
    }

    std::size_t PatternNamed(std::string_view name)
    {
        const auto found = patternOf_.find(name);
        if (found != patternOf_.end())
            return found->second;
        if (name != ".") {
            FailAt("no such pattern", name);
            return 0;
        }
        ScorePattern silence;
        silence.steps = 1;
        silence.stepTicks = static_cast<int>(score_.QuartersPerBar() * kTicksPerQuarter);
        patternOf_.emplace(std::string(name), score_.patterns.size());
        score_.patterns.push_back(silence);
        return score_.patterns.size() - 1;
    }

    void ReadCurve(ScoreCurve curve, const Words& words, std::size_t first, double least,
                   double most)
    {
        for (std::size_t i = first; i < words.size(); ++i) {
            const std::size_t sign = words[i].find_first_of("=~");
            const std::optional<double> quarter = ReadPosition(words[i].substr(0, sign));
            const double value = sign != std::string_view::npos
                                     ? Parse<double>(words[i].substr(sign + 1)).value_or(kNoNumber)
                                     : kNoNumber;
            if (!quarter || !(value >= least && value <= most))
                return FailAt("not a point of a curve", words[i]);
            if (!curve.points.empty() && *quarter < curve.points.back().quarter)
                return FailAt("a point before the last one", words[i]);
            curve.points.push_back({*quarter, value, words[i][sign] == '~'});
        }
        if (curve.points.empty())
            return Fail("a curve without points");
        score_.sections.back().curves.push_back(std::move(curve));
    }

    /// "BAR" or "BAR:BEAT", both from 1. @return quarters from the section's start
    std::optional<double> ReadPosition(std::string_view text) const
    {
        const std::size_t colon = text.find(':');
        const std::optional<double> bar = Parse<double>(text.substr(0, colon));
        const std::optional<double> beat = colon != std::string_view::npos
                                               ? Parse<double>(text.substr(colon + 1))
                                               : std::optional<double>(1.0);
        if (!bar || !beat || !(*bar >= 1.0 && *bar <= 1001.0) ||
            !(*beat >= 1.0 && *beat <= 1.0 + score_.beats))
            return std::nullopt;
        return ((*bar - 1.0) * score_.beats + *beat - 1.0) * 4.0 / score_.unit;
    }

    Score score_;
    std::map<std::string, std::size_t, std::less<>> partOf_;
    std::map<std::string, std::size_t, std::less<>> patternOf_;
    int line_ = 0;
    std::string error_;
    bool inPattern_ = false;
    bool canHold_ = false;
    int barStart_ = 0; ///< step at which the bar started
};

} // namespace

std::optional<Score> ReadScore(std::string_view text, std::string& error)
{
    return CReader().Read(text, error);
}

} // namespace keldra::songs
