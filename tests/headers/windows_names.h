// A use of names that a macro of <windows.h> could break or rename: were one of them renamed in only one of two orders
// of inclusion, the code would not compile or not link. No include guard is needed and nothing is included: the files
// that include this one are about the order.

namespace windows_names {

inline std::int64_t use(ChPair text, MLDoc& doc, UTF8File& file, TTT& message, Bag& bag) {
    MLDoc::Token token;
    MLDoc::Attribute attribute;
    MLDoc::ChildIterator items(&doc, token);
    MLDoc::AttributeIterator attributes(&doc, token);
    while (items("item")) {
        while (attributes(attribute)) text = attribute.value;
    }
    UTF8File::Info info;
    bool done = UTF8File::exist("name") && UTF8File::info("name", info, false) && file.open("name", UTF8File::READ) &&
                file.open("name", UTF8File::WRITE) && file.open("name", UTF8File::UPDATE) && file.remove() &&
                file.rename("other") && file.mkdir() && file.rmdir() && file.flush() && file.close();
    const int kinds[] = {MLDocBase::XML,
                         MLDocBase::JSON,
                         MLDocBase::YAML,
                         MLDocBase::HTML,
                         MLDocBase::CSV,
                         MLDocBase::Unknown,
                         IDLocLoader::NoError,
                         IDLocLoader::NotFound,
                         IDLocLoader::Invalid,
                         IDLocLoader::ReadError,
                         IDLocLoader::NoMemory,
                         TTT::RAW,
                         TTT::DICT,
                         TTT::DATA,
                         TTT::PARAM_INT,
                         LCA__Bad_character,
                         CCLocLoader::BadVersion};
    message = TTT(VELMORA_DICT, LCA__Path_s) < text < kinds[0];
    bag.toBegin();
    ChArr diagnostic;
    diagnostic.winerror(5, "kernel32");
    char local[64];
    if (sprintf_date(0, local, sizeof local)) strup_ascii(local, local + 1);
    SimpleVector<int> numbers;
    int line = 0, column = 0;
    doc.getPosition(line, column);
    return text.parseGMTTime() + text.parseLocalTime() + numbers.count + line + column + done + bag.getSize();
}

}  // namespace windows_names
