// The sinks of a conversion. Each refuses what its form cannot hold.
#ifndef VELMORA_TOOLS_ITEM_WRITERS_H
#define VELMORA_TOOLS_ITEM_WRITERS_H

#include <velmora/markup/mldoc.h>
#include <velmora/markup/mldocout.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tools/items.h"

namespace tool {

// The name of the attribute that a text becomes where items have no content.
constexpr const char* kTextName = "text";

// Writes a value. One that is not `plain` gets the escapes of jsonText in JSON, YAML and CSV, as the writer's own
// leave most control bytes as they are.
void writeText(MLDocOut& out, const char* name, const std::string& text, bool plain);

// What must be known of a document before it is written: it is walked once with this.
class Survey : public ItemSink {
public:
    // `root` is the name that the root without a name would get. With no `rowName` the first item that holds a value
    // gives the name, and an item of another name that holds one is a failure of the writing.
    Survey(const std::string& root, const std::string& rowName) : open_(1, root), rowName_(rowName) {}

    void open(const std::string& name) override;
    void value(const std::string& name, const Value& value) override;
    void text(const Value& value) override { this->value(kTextName, value); }
    void close(const std::string& name) override;

    int itemCount() const { return itemCount_; }             // outermost items
    bool rootHasValues() const { return rootHasValues_; }    // values outside of every item
    const std::string& rowName() const { return rowName_; }  // empty: no item holds a value
    bool hasRows() const { return hasRows_; }                // an item is named so
    const std::vector<std::string>& columns() const { return columns_; }

private:
    std::vector<std::string> open_;  // names of the open items, the root first
    std::string rowName_;
    int itemCount_ = 0;
    bool rootHasValues_ = false;
    bool hasRows_ = false;
    std::vector<std::string> columns_;  // names of the rows' values, in the order in which they come up
    std::map<std::string, std::size_t> known_;
};

// XML, JSON and YAML.
class TreeWriter : public ItemSink {
public:
    TreeWriter(MLDocOut& out, MLDoc::Format source) : out_(out), source_(source) {}

    void open(const std::string& name) override;
    void value(const std::string& name, const Value& value) override;
    void text(const Value& value) override;
    void close(const std::string& name) override;

private:
    MLDocOut& out_;
    MLDoc::Format source_;
    bool hasEntries_ = true;  // the innermost item has values or items; outside of all items nothing is asked
    bool hasText_ = false;    // the innermost item has a value of the name that a text would get
};

// HTML and CSV: one row for each item of a name, with its values in the order of the columns. `selects` says that
// values outside of the rows are not wanted.
class RowWriter : public ItemSink {
public:
    RowWriter(MLDocOut& out, MLDoc::Format source, const Survey& survey, bool selects);

    void writeHeader();

    void open(const std::string& name) override;
    void value(const std::string& name, const Value& value) override;
    void text(const Value& value) override;
    void close(const std::string& name) override;

private:
    MLDocOut& out_;
    MLDoc::Format source_;
    std::string rowName_;
    std::vector<std::string> columns_;
    std::map<std::string, std::size_t> indexes_;
    bool selects_;
    bool inRow_ = false;
    std::vector<Value> cells_;
    std::vector<bool> filled_;
};

}  // namespace tool

#endif
