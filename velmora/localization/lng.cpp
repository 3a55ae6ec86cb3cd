// Readers of .lng files. The layout is drawn in docs/lng-format.md: seven 32-bit words, a table of starts, the texts.
// A file may have either byte order. Both readers share everything but where the addresses of the texts go, and until a
// file has been read whole nothing of theirs changes.
#include <velmora/localization/loc.h>

namespace {

using Errors = velmora::detail::LngErrors;

constexpr std::uint32_t kOwnOrder = 0x524C434C;       // the bytes "LCLR"
constexpr std::uint32_t kOppositeOrder = 0x4C434C52;  // the bytes "RLCL"
constexpr std::uint32_t kFormatVersion = 1;
constexpr std::uint32_t kUtf8 = 8;

std::uint32_t reversed(std::uint32_t v) { return (v >> 24) | ((v >> 8) & 0xFF00) | ((v << 8) & 0xFF0000) | (v << 24); }

class Reader {
public:
    ArrayHolder<std::int32_t> starts;  // one per string, in bytes from the start of the texts
    ArrayHolder<char> texts;           // both null when the file is for a table without strings

    Reader(FILE* file, int count, std::uint32_t version) : file_(file), count_(count), version_(version) {}

    Errors::ErrorCode read() {
        std::uint32_t textSize = 0;
        Errors::ErrorCode error = readHeader();
        if (error != Errors::NoError || count_ < 1) return error;
        if ((error = readWord(textSize)) != Errors::NoError) return error;
        auto size = static_cast<std::int32_t>(textSize);
        if (size < 1) return Errors::Invalid;
        return readBody(static_cast<std::size_t>(count_), static_cast<std::size_t>(size));
    }

private:
    FILE* file_;
    int count_;
    std::uint32_t version_;
    bool opposite_ = false;

    bool readBytes(void* out, std::size_t size) { return std::fread(out, size, 1, file_) == 1; }

    Errors::ErrorCode readWord(std::uint32_t& word) {
        if (!readBytes(&word, sizeof word)) return Errors::ReadError;
        if (opposite_) word = reversed(word);
        return Errors::NoError;
    }

    Errors::ErrorCode expectWord(std::uint32_t expected, Errors::ErrorCode otherwise) {
        std::uint32_t word = 0;
        Errors::ErrorCode error = readWord(word);
        if (error != Errors::NoError) return error;
        return word == expected ? Errors::NoError : otherwise;
    }

    // Each word is read only after the one before it has passed.
    Errors::ErrorCode readHeader() {
        std::uint32_t order = 0;
        Errors::ErrorCode error = expectWord(0, Errors::Invalid);
        if (error != Errors::NoError || (error = readWord(order)) != Errors::NoError) return error;
        if (order != kOwnOrder && order != kOppositeOrder) return Errors::Invalid;
        opposite_ = order == kOppositeOrder;
        if ((error = expectWord(kFormatVersion, Errors::BadVersion)) != Errors::NoError) return error;
        if ((error = expectWord(kUtf8, Errors::BadEncoding)) != Errors::NoError) return error;
        if ((error = expectWord(version_, Errors::VersionMismatch)) != Errors::NoError) return error;
        return expectWord(static_cast<std::uint32_t>(count_), Errors::Invalid);
    }

    Errors::ErrorCode readBody(std::size_t count, std::size_t size) {
        starts.data = new std::int32_t[count];
        if (!readBytes(starts.data, count * sizeof(std::int32_t))) return Errors::ReadError;
        if (opposite_) {
            for (std::size_t i = 0; i < count; ++i) {
                starts.data[i] = static_cast<std::int32_t>(reversed(static_cast<std::uint32_t>(starts.data[i])));
            }
        }
        texts.data = new char[size];
        return readBytes(texts.data, size) ? Errors::NoError : Errors::ReadError;
    }
};

}  // namespace

CCLocLoader::~CCLocLoader() { delete[] text; }

CCLocLoader::ErrorCode CCLocLoader::load(FILE* file, Localization& table) {
    Reader reader(file, table.count, table.version);
    ErrorCode error = reader.read();
    if (error != NoError || !reader.texts.data) return error;
    for (int i = 0; i < table.count; ++i) *table.targets[i] = reader.texts.data + reader.starts.data[i];
    delete[] text;
    text = reader.texts.steal();
    return NoError;
}

IDLocLoader::~IDLocLoader() {
    delete[] text;
    delete[] strings;
}

IDLocLoader::ErrorCode IDLocLoader::load(FILE* file, Localization& table) {
    Reader reader(file, table.count, table.version);
    ErrorCode error = reader.read();
    if (error != NoError || !reader.texts.data) return error;
    auto** addresses = new const char*[static_cast<std::size_t>(table.count)];
    for (int i = 0; i < table.count; ++i) addresses[i] = reader.texts.data + reader.starts.data[i];
    delete[] text;
    text = reader.texts.steal();
    delete[] strings;
    strings = addresses;
    return NoError;
}
