#include "tests/tools/tool_fixture.h"

#include "tests/support/child_process.h"
#include "tests/support/message.h"

namespace {

void appendWord(std::string& out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(value >> shift & 0xFF);
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string placeholders(const std::string& key) {
    if (key == "LCA__Line_d_Column_d") return "(%d,%d)";
    if (endsWith(key, "_d")) return "(%d)";
    const bool named = key == "LCA__Invalid_date_required_format_is" || key == "LCA__Could_not_get_information_for";
    return named || endsWith(key, "_s") ? "(%s)" : "";
}

}  // namespace

ToolResult startTool(const support::TempFolder& folder, const std::vector<std::string>& words,
                     const std::string& device) {
    std::vector<std::string> line = {VELMORA_TOOL};
    line.insert(line.end(), words.begin(), words.end());
    const int status =
        support::runProgram(line, device.empty() ? folder.file("stdout.txt") : device, folder.file("stderr.txt"));
    return {status, device.empty() ? folder.read("stdout.txt") : std::string(), folder.read("stderr.txt")};
}

std::string lngBytes(std::uint32_t stamp, const std::vector<std::string>& texts) {
    std::string table;
    std::string block;
    for (const std::string& text : texts) {
        appendWord(table, static_cast<std::uint32_t>(block.size()));
        block += text + '\0';
    }
    std::string out;
    for (std::uint32_t value : {0U, 0x524C434CU, 1U, 8U, stamp}) appendWord(out, value);
    appendWord(out, static_cast<std::uint32_t>(texts.size()));
    if (texts.empty()) return out;
    appendWord(out, static_cast<std::uint32_t>(block.size()));
    return out + table + block;
}

std::string keyDictionary(const std::string& open, const std::string& close) {
    std::vector<std::string> texts;
    for (int i = 0; i < kLibraryCount; ++i) {
        const std::string key = support::keyName(i);
        texts.push_back(open + key + placeholders(key) + close);
    }
    return lngBytes(kLibraryStamp, texts);
}
