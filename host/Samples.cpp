#include "Samples.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

/// Why the line is no sample, or nothing.
std::string ParseLine(const std::string& line, PenSample& sample)
{
    // Words first: a stream would stop at "nan" with a message that tells nobody why.
    std::istringstream words(line);
    double* const fields[] = {&sample.seconds, &sample.x, &sample.y, &sample.pressure};
    std::string word;
    for (double* field : fields) {
        if (!(words >> word))
            return "four numbers are expected: seconds x y pressure";
        char* end = nullptr;
        *field = std::strtod(word.c_str(), &end);
        if (end == word.c_str() || *end != '\0')
            return "\"" + word + "\" is not a number";
        if (!std::isfinite(*field))
            return "\"" + word + "\" is not a finite number";
    }
    if (words >> word)
        return "more than four numbers";
    if (sample.pressure < 0 || sample.pressure > 1)
        return "the pressure is not between 0 and 1";
    return {};
}

}  // namespace

SampleFile ReadSamples(const std::string& path)
{
    std::ifstream input(path);
    if (!input || input.peek() == std::ifstream::traits_type::eof()) {
        const bool isEmpty = input.is_open() && input.eof();
        return {{}, path + ": " + (isEmpty ? "the file is empty" : std::strerror(errno))};
    }
    return ReadSamples(input, path);
}

SampleFile ReadSamples(std::istream& input, const std::string& path)
{
    SampleFile file;
    std::string line;
    for (int number = 1; std::getline(input, line); ++number) {
        const size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#')
            continue;
        PenSample sample;
        std::string fault = ParseLine(line, sample);
        if (fault.empty() && !file.samples.empty() && sample.seconds < file.samples.back().seconds)
            fault = "time runs backwards";
        if (!fault.empty()) {
            file.samples.clear();
            file.error = path + ":" + std::to_string(number) + ": " + fault;
            return file;
        }
        file.samples.push_back(sample);
    }
    if (input.bad())
        file.error = path + ": reading failed";
    else if (file.samples.empty())
        file.error = path + ": the file holds no samples";
    return file;
}
