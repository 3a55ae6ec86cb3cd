// One entry of a case table changed for the time of one test. What folds beyond ASCII depends on the system and its
// locale; with pairs of its own a test says the same everywhere.
//
//     support::TableScope upper(chr_upper_table_utf16, 0xE9, 0xC9);
#ifndef VELMORA_TESTS_SUPPORT_TABLE_SCOPE_H
#define VELMORA_TESTS_SUPPORT_TABLE_SCOPE_H

namespace support {

template <class T>
class TableScope {
public:
    TableScope(T* table, unsigned index, unsigned value) : entry_(table + index), before_(*entry_) {
        *entry_ = static_cast<T>(value);
    }
    TableScope(const TableScope&) = delete;
    void operator=(const TableScope&) = delete;
    ~TableScope() { *entry_ = before_; }

private:
    T* entry_;
    T before_;
};

}  // namespace support

#endif
