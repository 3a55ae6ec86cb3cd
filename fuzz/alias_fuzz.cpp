// Arguments that lie in their target. Each operation is done twice, on two targets that are equal: once with a part of
// the target as its argument, and once with a copy of that part. Afterwards the targets are equal again.
#include <velmora/containers/vectors.h>
#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

// Where a part of `n` bytes begins and ends.
struct Range {
    int from;
    int to;
};

Range rangeIn(fuzz::Input& input, int n) {
    if (n <= 0) return {0, 0};
    const int a = static_cast<int>(input.number<std::uint16_t>()) % (n + 1);
    const int b = static_cast<int>(input.number<std::uint16_t>()) % (n + 1);
    return {std::min(a, b), std::max(a, b)};
}

// A terminated text that is a part of another one has the other's end.
std::string terminated(const char* text, int from) { return std::string(text + from); }

// Runs `operation` with the part and with its copy. Returns: whether both ended in the same way.
template <class Operation>
void twice(Operation operation) {
    int thrown[2] = {0, 0};
    for (int i = 0; i < 2; ++i) {
        try {
            operation(i == 1);
        } catch (const TTT& message) {
            message.getIds(nullptr, &thrown[i]);
        } catch (const Bag::Exception&) {
            thrown[i] = -2;
        }
    }
    FUZZ_CHECK(thrown[0] == thrown[1]);
}

std::string bytesOf(const CharVector& v) {
    return v.data ? std::string(v.data, static_cast<std::size_t>(v.count)) : "";
}
std::string bytesOf(const Bag& bag) {
    return bag.size > 0 ? std::string(bag.data, static_cast<std::size_t>(bag.size)) : std::string();
}

// The text again, in a block with or without room.
void refill(CharVector& v, const std::string& text, unsigned room) {
    CharVector fresh;
    fresh.prepare(static_cast<int>(text.size() + room));
    fresh = text;
    delete[] v.data;
    v.count = fresh.count;
    v.allocateCount = fresh.allocateCount;
    v.data = fresh.steal();
}

void charVector(fuzz::Input& input, const std::string& text) {
    CharVector targets[2];
    const unsigned room = input.below(2) * 600;
    for (CharVector& target : targets) refill(target, text, room);
    MLDoc doc;
    doc.format = input.below(2) == 0 ? MLDocBase::XML : MLDocBase::JSON;
    for (int rounds = 0; rounds < 6 && !input.empty(); ++rounds) {
        const Range range = rangeIn(input, targets[0].count);
        const unsigned choice = input.below(9);
        twice([&](bool aliased) {
            CharVector& target = targets[aliased];
            const std::string copy(bytesOf(target), static_cast<std::size_t>(range.from),
                                   static_cast<std::size_t>(range.to - range.from));
            const ChPair part = aliased ? ChPair(target.data + range.from, target.data + range.to) : ChPair(copy);
            const std::string tail = target.data ? terminated(target.data, range.from) : std::string();
            const char* ended = aliased && target.data ? target.data + range.from : tail.c_str();
            switch (choice) {
                case 0:
                    return target.append(part);
                case 1:
                    target = part;
                    return;
                case 2:
                    return target.append(ended);
                case 3:
                    target = ended;
                    return;
                case 4:
                    return target.append(part.begin, static_cast<std::size_t>(part.len()));
                case 5:
                    return target.assign(part.begin, part.end);
                case 6:
                    if (aliased) {
                        target.append(target);
                    } else {
                        target.append(CharVector(target));
                    }
                    return;
                case 7:
                    return doc.convertEscape(part, target);
                default:
                    target += part.begin == part.end ? 'x' : *part.begin;
                    return;
            }
        });
        FUZZ_CHECK(bytesOf(targets[0]) == bytesOf(targets[1]));
        FUZZ_CHECK(!targets[1].data || targets[1].data[targets[1].count] == 0);
        if (targets[0].count > 4000) return;
    }
}

void ownedText(fuzz::Input& input, const std::string& bytes) {
    const std::string text(bytes.c_str());
    ChArr targets[2] = {ChArr(text), ChArr(text)};
    for (int rounds = 0; rounds < 6 && !input.empty(); ++rounds) {
        const Range range = rangeIn(input, targets[0].len());
        const unsigned choice = input.below(8);
        twice([&](bool aliased) {
            ChArr& target = targets[aliased];
            const std::string whole(target.asCharPtr());
            const std::string copy(whole, static_cast<std::size_t>(range.from),
                                   static_cast<std::size_t>(range.to - range.from));
            // A part that begins at the text's own begin is the text itself, which is left alone.
            const bool own = aliased && range.from != 0;
            const ChPair part = own ? ChPair(target.data + range.from, target.data + range.to) : ChPair(copy);
            const std::string tail = whole.substr(static_cast<std::size_t>(range.from));
            const char* ended = own ? target.data + range.from : tail.c_str();
            switch (choice) {
                case 0:
                    target = part;
                    return;
                case 1:
                    target = ended;
                    return;
                case 2:
                    target += ended;
                    return;
                case 3:
                    return target.insert(ended);
                case 4:
                    return target.format("%s-%s", ended, ended);
                case 5:
                    return target.assign(part.begin, part.end);
                case 6:
                    return MLDocOut::escapeStringXMLHTML(part, target);
                default:
                    return target.assign1251(part.begin, part.len());
            }
        });
        FUZZ_CHECK(std::string(targets[0].asCharPtr()) == targets[1].asCharPtr());
        if (targets[0].len() > 4000) return;
    }
}

void bag(fuzz::Input& input, const std::string& text) {
    Bag targets[2];
    const bool room = input.below(2) == 0;
    for (Bag& target : targets) {
        if (room) target.expand(4096);
        target.putData(text.data(), static_cast<int>(text.size()));
        if (!room) target.pack();
    }
    for (int rounds = 0; rounds < 6 && !input.empty(); ++rounds) {
        const Range range = rangeIn(input, targets[0].size);
        const unsigned choice = input.below(10);
        const int alignment = 1 << input.below(4);
        // A write inside the content, too, which may overwrite its own argument.
        const int cursor = input.below(4) == 0 ? rangeIn(input, targets[0].size).from : targets[0].size;
        twice([&](bool aliased) {
            Bag& target = targets[aliased];
            target.cursor = cursor;
            const std::string whole = bytesOf(target);
            const std::string copy(whole, static_cast<std::size_t>(range.from),
                                   static_cast<std::size_t>(range.to - range.from));
            const ChPair part = aliased ? ChPair(target.data + range.from, target.data + range.to) : ChPair(copy);
            // A terminated text is a part only if its end is.
            const std::size_t end = whole.find('\0', static_cast<std::size_t>(range.from));
            const std::string tail =
                end == std::string::npos
                    ? "text"
                    : whole.substr(static_cast<std::size_t>(range.from), end - static_cast<std::size_t>(range.from));
            const char* ended = aliased && end != std::string::npos ? target.data + range.from : tail.c_str();
            switch (choice) {
                case 0:
                    return target.putData(part.begin, part.len());
                case 1:
                    return target.putStringNZ(part);
                case 2:
                    target << part;
                    return;
                case 3:
                    target << ended;
                    return;
                case 4:
                    return target.putString(ended);
                case 5:
                    return target.putDataAligned(part.begin, part.len(), alignment);
                case 6:
                    return MLDocOut::escapeStringXMLHTML(part, target);
                case 7:
                    if (aliased) {
                        target << target;
                    } else {
                        target << Bag(target);
                    }
                    return;
                case 8:
                    return target.putFormatStringNZ("<%s>", ended);
                default:
                    return MLDocOut::escapeStringJSONYAML(part, target);
            }
        });
        FUZZ_CHECK(bytesOf(targets[0]) == bytesOf(targets[1]) && targets[0].cursor == targets[1].cursor);
        if (targets[0].size > 4000) return;
    }
}

void message(fuzz::Input& input, const std::string& text) {
    TTT targets[2] = {TTT(text), TTT(text)};
    for (int rounds = 0; rounds < 6 && !input.empty(); ++rounds) {
        const Range range = rangeIn(input, targets[0].getData().size);
        const unsigned choice = input.below(9);
        twice([&](bool aliased) {
            TTT& target = targets[aliased];
            char* data = target.getData().data;
            const std::string copy(bytesOf(target.getData()), static_cast<std::size_t>(range.from),
                                   static_cast<std::size_t>(range.to - range.from));
            const ChPair part = aliased ? ChPair(data + range.from, data + range.to) : ChPair(copy);
            switch (choice) {
                case 0:
                    target < part;
                    return;
                case 1:
                    target << part;
                    return;
                case 2:
                    target <= part;
                    return;
                case 3:
                    return target.putSpecial(part.begin, part.len());
                case 4:
                    target = part;
                    return;
                case 5:
                    if (aliased) {
                        target <= target;
                    } else {
                        target <= TTT(target);
                    }
                    return;
                case 6:
                    if (aliased) {
                        target <= target.getData();
                    } else {
                        target <= Bag(target.getData());
                    }
                    return;
                case 7:
                    if (aliased) {
                        target = target.getData();
                    } else {
                        target = Bag(target.getData());
                    }
                    return;
                default: {
                    MLDoc doc;
                    doc.format = MLDocBase::XML;
                    return doc.convertEscape(part, target);
                }
            }
        });
        FUZZ_CHECK(bytesOf(targets[0].getData()) == bytesOf(targets[1].getData()));
        if (targets[0].getData().size > 4000) return;
    }
}

void writer(fuzz::Input& input, const std::string& text) {
    static const MLDocBase::Format formats[] = {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML,
                                                MLDocBase::CSV};
    const MLDocBase::Format format = formats[input.below(5)];
    MLDocOut::BagWriter sinks[2];
    MLDocOut outs[2] = {MLDocOut(format), MLDocOut(format)};
    const bool room = input.below(2) == 0;
    for (int i = 0; i < 2; ++i) {
        if (room) sinks[i].expand(16384);
        outs[i].begin(sinks[i]);
        outs[i].beginItem("item");
        outs[i].writeStrAttr("text", text);
        if (!room) sinks[i].pack();
    }
    for (int rounds = 0; rounds < 6 && !input.empty(); ++rounds) {
        const Range range = rangeIn(input, sinks[0].size);
        const unsigned choice = input.below(8);
        twice([&](bool aliased) {
            MLDocOut::BagWriter& sink = sinks[aliased];
            MLDocOut& out = outs[aliased];
            const std::string copy(bytesOf(sink), static_cast<std::size_t>(range.from),
                                   static_cast<std::size_t>(range.to - range.from));
            const ChPair part = aliased ? ChPair(sink.data + range.from, sink.data + range.to) : ChPair(copy);
            switch (choice) {
                case 0:
                    return out.writeStrAttr("a", part);
                case 1:
                    return out.writeSimpleAttr("a", part);
                case 2:
                    return out.writeSimplestAttr("a", part);
                case 3:
                    return out.writeEscaped(part);
                case 4:
                    return out.write(part);
                case 5:
                    return out.write(part.begin, part.len());
                case 6:
                    out.writeStrAttr("a", part, true);
                    return out.writeIntAttr("b", 1);
                default:
                    out.endItem("item");
                    return out.beginItem("item");
            }
        });
        FUZZ_CHECK(bytesOf(sinks[0]) == bytesOf(sinks[1]));
        if (sinks[0].size > 8000) return;
    }
}

void items(fuzz::Input& input, const std::string& text) {
    SimpleVector<char> target;
    for (char c : text) target.append(c);
    std::string model = text;
    for (int rounds = 0; rounds < 6 && !input.empty(); ++rounds) {
        const Range range = rangeIn(input, target.count);
        const int at = rangeIn(input, target.count).from;
        target.moveRangeTo(range.from, range.to, target, at);
        if (range.from < range.to && (at < range.from || at > range.to)) {
            const std::string moved =
                model.substr(static_cast<std::size_t>(range.from), static_cast<std::size_t>(range.to - range.from));
            model.insert(static_cast<std::size_t>(at), moved);
            model.erase(static_cast<std::size_t>(range.from) + (at < range.from ? moved.size() : 0), moved.size());
        }
        FUZZ_CHECK(std::string(target.begin(), target.end()) == model);
    }
}

void document(fuzz::Input& input, const std::string& text) {
    MLDoc docs[2];
    try {
        for (MLDoc& doc : docs) doc.load("name", text.data(), static_cast<int>(text.size()));
    } catch (const TTT&) {
        return;
    }
    const Range range = rangeIn(input, static_cast<int>(docs[0].length));
    const bool named = input.below(2) == 0;
    twice([&](bool aliased) {
        MLDoc& doc = docs[aliased];
        const std::string name = doc.fileName.asCharPtr();
        // Of what the document holds: a declaration that has been read is not what it was.
        const std::string copy(doc.buffer + range.from, doc.buffer + range.to);
        const char* part = aliased ? doc.buffer + range.from : copy.data();
        doc.load(aliased && named ? doc.fileName.asCharPtr() + 1
                 : named          ? name.c_str() + 1
                                  : "other",
                 part, range.to - range.from);
    });
    FUZZ_CHECK(docs[0].length == docs[1].length && docs[0].format == docs[1].format);
    FUZZ_CHECK((docs[0].buffer != nullptr) == (docs[1].buffer != nullptr));
    FUZZ_CHECK(!docs[0].buffer || std::memcmp(docs[0].buffer, docs[1].buffer, docs[0].length) == 0);
    FUZZ_CHECK(std::string(docs[0].fileName.asCharPtr()) == docs[1].fileName.asCharPtr());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    void (*const subjects[])(fuzz::Input&, const std::string&) = {charVector, ownedText, bag,     message,
                                                                  writer,     items,     document};
    const unsigned subject = input.below(7);
    const std::string text = input.bytes(input.below(2) == 0 ? input.byte() : 1000);
    subjects[subject](input, text);
    return 0;
}
