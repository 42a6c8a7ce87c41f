#include "report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "shared/utf8_path.h"

namespace quillon::bench {
namespace {

using nlohmann::json;

std::string formatted(const char* format, double value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

/// Writes about three significant digits, without an exponent.
std::string number(double value) {
    return formatted(value >= 100   ? "%.0f"
                     : value >= 10  ? "%.1f"
                     : value >= 0.1 ? "%.2f"
                                    : "%.4f",
                     value);
}

std::string time(double seconds) {
    if (seconds == 0.0) {
        return "";
    }
    return seconds < 1.0 ? number(seconds * 1000) + " ms" : number(seconds) + " s";
}

std::string verdict(const Row& row) {
    if (!row.goal) {
        return "";
    }
    const auto reaches = [&](double limit) {
        return row.goal->atLeast ? row.value >= limit : row.value <= limit;
    };
    return reaches(row.goal->aim) ? "aim" : reaches(row.goal->must) ? "must" : "MISSED";
}

std::string limit(const Row& row, double Goal::*which) {
    if (!row.goal) {
        return "";
    }
    return (row.goal->atLeast ? "≥ " : "≤ ") + number((*row.goal).*which);
}

std::vector<std::string> cells(const Row& row) {
    return {row.name,
            row.measure,
            number(row.value) + (row.unit == "x" ? " x" : " " + row.unit),
            limit(row, &Goal::must),
            limit(row, &Goal::aim),
            verdict(row),
            time(row.oursSeconds),
            time(row.otherSeconds),
            std::to_string(row.rounds),
            row.note};
}

/// Counts characters, not bytes, because the table has "≤".
std::size_t columnsOf(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

json rowDocument(const Row& row) {
    json document = {{"name", row.name},
                     {"measure", row.measure},
                     {"value", row.value},
                     {"unit", row.unit},
                     {"oursSeconds", row.oursSeconds},
                     {"otherSeconds", row.otherSeconds},
                     {"rounds", row.rounds},
                     {"note", row.note}};
    if (row.goal) {
        document["must"] = row.goal->must;
        document["aim"] = row.goal->aim;
        document["atLeast"] = row.goal->atLeast;
        document["verdict"] = verdict(row);
    }
    return document;
}

}  // namespace

void Report::add(Row row) {
    std::cerr << row.name << ": " << number(row.value) << ' ' << row.unit << ' ' << verdict(row)
              << std::endl;
    rows.push_back(std::move(row));
}

void Report::printTable(std::ostream& out, const Machine& machine) const {
    for (const auto& [name, value] : machine) {
        out << "- " << name << ": " << value << '\n';
    }
    out << '\n';
    std::vector<std::vector<std::string>> lines{
        {"Name", "Value is", "Value", "Must", "Aim", "Met", "Ours", "Other", "Rounds", "Note"}};
    std::transform(rows.begin(), rows.end(), std::back_inserter(lines), cells);
    std::vector<std::size_t> widths(lines.front().size());
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], columnsOf(line[i]));
        }
    }
    for (std::size_t l = 0; l < lines.size(); ++l) {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            out << "| " << lines[l][i] << std::string(widths[i] - columnsOf(lines[l][i]) + 1, ' ');
        }
        out << "|\n";
        for (std::size_t i = 0; l == 0 && i < widths.size(); ++i) {
            out << '|' << std::string(widths[i] + 2, '-') << (i + 1 == widths.size() ? "|\n" : "");
        }
    }
}

void Report::writeJson(const std::filesystem::path& path, const Machine& machine) const {
    json document = {{"machine", json::object()}, {"rows", json::array()}};
    for (const auto& [name, value] : machine) {
        document["machine"][name] = value;
    }
    std::transform(rows.begin(), rows.end(), std::back_inserter(document["rows"]), rowDocument);
    std::ofstream stream(path);
    stream << document.dump(1) << '\n';
    if (!stream) {
        throw std::runtime_error("cannot write " + utf8FromPath(path));
    }
}

}  // namespace quillon::bench
