// A message that is stored as data and turned into text late: templates, given as dictionary references or as raw
// text, each followed by its parameters. Building one costs no formatting and no look-up; translate applies the
// language. It is also what the library throws.
//
//     TTT message("File %s, line %d");
//     message < path < 7;
//     std::string text;
//     message.translate(text);   // "File a.txt, line 7"
//
// Operators: `<` appends a parameter for %d, %s and their kin, `<<` a tagged parameter for %{1}, `<=` a further
// template. A template uses one kind of parameters and must use all of them.
// An argument may be a part of the same message.
// Threads: translate and getIds move the cursor of the message, so one message is for one thread at a time.
#ifndef VELMORA_SERIAL_TTT_H
#define VELMORA_SERIAL_TTT_H

#include <cstdint>
#include <string>

#include <velmora/base.h>
#include <velmora/serial/bag.h>

class ChArr;
class CharVector;
class IDLocLoader;

namespace velmora::detail {
struct IdLocalization;  // IDLocLoader::Localization, from localization/loc.h
}

// Number of a dictionary, 0 to 5. Those but VELMORA_DICT are free for applications.
enum LocDictionaryId : std::int32_t { VELMORA_DICT = 2 };

// Names one text of one dictionary.
class VELMORA_API TTP {
public:
    LocDictionaryId dict;
    int id;

    TTP(LocDictionaryId dictionary, int stringId) : dict(dictionary), id(stringId) {}

    // The text, unchecked, as TTT::get.
    const char* get() const;
};

class VELMORA_API TTT {
public:
    // Tags of the segments of a message.
    static const int RAW = -1;   // a template as terminated text, and its parameters
    static const int DICT = -2;  // a dictionary's and a text's number, and the parameters
    static const int DATA = -3;  // a length and bytes that rendering passes over

    // Tags of positional parameters.
    enum ParamTag : std::int32_t {
        PARAM_INT = 0x0F0ABCDF,
        PARAM_UINT = 0x0F0ABCE0,
        PARAM_INT64 = 0x0F0ABCE1,
        PARAM_UINT64 = 0x0F0ABCE2,
        PARAM_STRING = 0x0F0ABCE3
    };

    // A parameter whose text is asked for when it is appended.
    class VELMORA_API ParamSource {
    public:
        ParamSource() = default;
        ParamSource(const ParamSource&) = default;
        ParamSource& operator=(const ParamSource&) = default;
        virtual ~ParamSource();
        // Null is empty text.
        virtual const char* getText() const = 0;
    };

    // The registry of dictionaries, filled by Loc::IdModule; all null at first. Entries are never cleared.
    static IDLocLoader* dictionaries[6];
    static velmora::detail::IdLocalization* localizations[6];
    static const char** stringids[6];

    // What %C appends, one for each kind of result. Null at first: a %C then ends the text, as an unknown letter does.
    static void (*translate_custom_std_string)(const char* text, std::string& out);
    static void (*translate_custom_char_vector)(const char* text, CharVector& out);

    TTT() = default;
    TTT(LocDictionaryId dictionary, int id) { append(dictionary, id); }
    TTT(const TTP& text) { append(text.dict, text.id); }
    TTT(const char* text) { putRaw(ChPair(text)); }
    TTT(const ChArr& text) { putRaw(ChPair(text)); }
    TTT(const std::string& text) { putRaw(ChPair(text)); }
    TTT(const CharVector& text) { putRaw(ChPair(text)); }
    // Warning: does not make a message that renders; the view goes in with its length in front. To show a view, use
    // `<=` on an empty message.
    TTT(const ChPair& text) { putPairForm(text); }
    TTT(const TTT& s) : TTT(s.data) {}
    TTT(TTT&& s) noexcept { *this = static_cast<TTT&&>(s); }
    TTT(const Bag& encoded) : TTT(encoded.data, encoded.isEmpty() ? 0 : encoded.size) {}
    // A message as it is stored. It is not validated; rendering survives whatever it holds.
    TTT(const char* bytes, int n) { data.putData(bytes, n); }

    // Each clears the message and builds it as the constructor does.
    TTT& operator=(const TTP& text) { return assign(text.dict, text.id); }
    TTT& operator=(const char* text);
    TTT& operator=(const ChArr& text);
    TTT& operator=(const std::string& text);
    TTT& operator=(const CharVector& text);
    TTT& operator=(const ChPair& text);
    TTT& operator=(const TTT& s);
    TTT& operator=(TTT&& s) noexcept;
    TTT& operator=(const Bag& encoded);
    TTT& assign(LocDictionaryId dictionary, int id);

    // Parameters in the order of the placeholders.
    TTT& operator<(int v) { return data << v, *this; }            // %d %u %x %X %A
    TTT& operator<(unsigned v) { return data << v, *this; }       // the same
    TTT& operator<(std::int64_t v) { return data << v, *this; }   // %ld %lu %lx %lX, or with ll
    TTT& operator<(std::uint64_t v) { return data << v, *this; }  // the same
#ifdef VELMORA_LP64
    TTT& operator<(long long v) { return data << v, *this; }
    TTT& operator<(unsigned long long v) { return data << v, *this; }
#endif
    TTT& operator<(double v) { return data << v, *this; }          // %f
    TTT& operator<(const BagTime& v) { return data << v, *this; }  // %D %T
    TTT& operator<(const char* s) { return data << s, *this; }     // %s %C; null is empty
    TTT& operator<(const ChArr& s) { return putText(ChPair(s)); }
    TTT& operator<(const std::string& s) { return data << s, *this; }
    TTT& operator<(const CharVector& s) { return putText(ChPair(s)); }
    TTT& operator<(const ChPair& s) { return putText(s); }
    TTT& operator<(char c) { return putText(ChPair(&c, 1)); }
    TTT& operator<(const TTP& v) { return data << static_cast<int>(v.dict) << v.id, *this; }  // %i
    TTT& operator<(const ParamSource* source) { return *this < (source ? source->getText() : nullptr); }

    // Parameters that a template names by number, %{1} to %{32}, in any order.
    TTT& operator<<(int v) { return data << static_cast<int>(PARAM_INT) << v, *this; }
    TTT& operator<<(unsigned v) { return data << static_cast<int>(PARAM_UINT) << v, *this; }
    TTT& operator<<(std::int64_t v) { return data << static_cast<int>(PARAM_INT64) << v, *this; }
    TTT& operator<<(std::uint64_t v) { return data << static_cast<int>(PARAM_UINT64) << v, *this; }
#ifdef VELMORA_LP64
    TTT& operator<<(long long v) { return *this << static_cast<std::int64_t>(v); }
    TTT& operator<<(unsigned long long v) { return *this << static_cast<std::uint64_t>(v); }
#endif
    TTT& operator<<(const char* s) { return putTaggedText(ChPair(s)); }
    TTT& operator<<(const std::string& s) { return putTaggedText(ChPair(s)); }
    TTT& operator<<(const ChArr& s) { return putTaggedText(ChPair(s)); }
    TTT& operator<<(const ChPair& s) { return putTaggedText(s); }
    TTT& operator<<(const CharVector& s) { return putTaggedText(ChPair(s)); }

    // Further segments; rendered side by side, with nothing between them. A whole message may be appended too.
    // Warning: 8-byte parameters in an appended message come out right only if it starts at a multiple of 8.
    TTT& operator<=(const TTP& text) { return append(text.dict, text.id), *this; }
    TTT& operator<=(const char* text) { return putRaw(ChPair(text)); }
    TTT& operator<=(const std::string& text) { return putRaw(ChPair(text)); }
    TTT& operator<=(const ChArr& text) { return putRaw(ChPair(text)); }
    TTT& operator<=(const ChPair& text) { return putRaw(text); }
    TTT& operator<=(const CharVector& text) { return putRaw(ChPair(text)); }
    TTT& operator<=(char c) { return putRaw(ChPair(&c, 1)); }
    TTT& operator<=(const TTT& message) { return *this <= message.data; }
    TTT& operator<=(const Bag& encoded);
    TTT& operator<=(int) = delete;
    TTT& operator<=(unsigned) = delete;
    TTT& operator<=(std::int64_t) = delete;
    TTT& operator<=(std::uint64_t) = delete;
#ifdef VELMORA_LP64
    TTT& operator<=(long long) = delete;
    TTT& operator<=(unsigned long long) = delete;
#endif
    void append(LocDictionaryId dictionary, int id) {
        data << static_cast<int>(DICT) << static_cast<int>(dictionary) << id;
    }

    // Appends bytes that rendering passes over.
    void putSpecial(const void* src, int n);

    // A 32-bit length and the content. Warning: after load the cursor is at 0, so an append would overwrite the
    // message unless getData().toEnd() comes first. Throws: Bag::Exception.
    void save(Bag& dst) const { dst << data; }
    void load(Bag& src) { src >> data; }

    void stealFrom(TTT& s) { data.stealFrom(s.data); }
    void stealFrom(Bag& s) { data.stealFrom(s); }
    Bag& getData() { return data; }
    const Bag& getData() const { return data; }
    bool isEmpty() const { return data.isEmpty(); }
    void clear() { data.clear(); }

    // The numbers of the first segment; either pointer may be null. Returns: whether there is a first segment. It
    // came from a dictionary only if *id is not -1.
    bool getIds(int* dict, int* id) const;

    // The message as text, from TTT::dictionaries or from another table of six loaders. Never throws: what cannot be
    // rendered ends the text there, such as a message whose dictionary is not loaded: its text is empty.
    // Moves the cursor, and restores it unless the message is wrong for its template.
    // Limit: 1 GiB of text; a template that shows a parameter many times gets there with a message of a few kilobytes.
    void translate(std::string& out) const;
    void translate(std::string& out, IDLocLoader** loaders) const;
    void translate(CharVector& out) const;
    void translate(CharVector& out, IDLocLoader** loaders) const;

    // A text by its number, unchecked. Requires: a dictionary that is loaded and a number within it.
    static const char* get(LocDictionaryId dictionary, int id);
    static const char* get(const TTP& text);
    // The key of a text; null for a number out of range or a dictionary that is not registered.
    static const char* getStringID(LocDictionaryId dictionary, int id);
    // The text with this key in the lowest dictionary that has it; the outputs stay untouched without one.
    static bool findByStringID(const char* key, LocDictionaryId& dictionary, int& id);

private:
    mutable Bag data;

    TTT& putText(const ChPair& text);
    TTT& putTaggedText(const ChPair& text);
    TTT& putRaw(const ChPair& text);
    TTT& putPairForm(const ChPair& text);
};

#endif
