// An element type that watches its container: it counts its live instances, tells
// copies from raw storage, writes down what happens to it, and can refuse to be
// copied.
//
// Call TracedItem::Reset() before a test. One thread at a time: the records are
// plain static members.
#ifndef VAXO_TRACEDITEM_H
#define VAXO_TRACEDITEM_H

#include <string>
#include <vector>

// What the instances have seen.
struct TracedItemRecords {
    long live = 0;
    long misuses = 0;        // uses of something that is not a live instance
    long copiesLeft = -1;    // copies until one is refused; negative: no limit
    bool recording = false;  // whether events are written down
    std::vector<std::string> events;
};

class TracedItem {
public:
    // What a refused copy throws.
    struct CopyRefused {};

    TracedItem() : TracedItem(0) {}
    explicit TracedItem(int value) : m_value(value), m_self(this) { ++s_records.live; }
    TracedItem(const TracedItem& other) : m_value(other.Checked()), m_self(this) {
        Refuse();
        ++s_records.live;
        Record("copy " + std::to_string(m_value));
    }
    TracedItem& operator=(const TracedItem& other) {
        const int value = other.Checked();
        Refuse();
        Record("assign " + std::to_string(value) + " to " + std::to_string(Checked()));
        if (this != &other) {
            m_value = value;
        }
        return *this;
    }
    ~TracedItem() {
        Record("destroy " + std::to_string(Checked()));
        --s_records.live;
        m_self = nullptr;
    }

    int Value() const { return Checked(); }
    bool operator==(const TracedItem& other) const { return Checked() == other.Checked(); }

    static TracedItemRecords& State() { return s_records; }
    static void Reset() { s_records = TracedItemRecords(); }

    // Events of what runs until the call of StopRecording, which returns them.
    static void StartRecording() {
        s_records.events.clear();
        s_records.recording = true;
    }
    static std::vector<std::string> StopRecording() {
        s_records.recording = false;
        return s_records.events;
    }

private:
    int Checked() const {
        if (m_self != this) {
            ++s_records.misuses;
        }
        return m_value;
    }
    static void Refuse() {
        if (s_records.copiesLeft == 0) {
            throw CopyRefused();
        }
        if (s_records.copiesLeft > 0) {
            --s_records.copiesLeft;
        }
    }
    static void Record(const std::string& event) {
        if (s_records.recording) {
            s_records.events.push_back(event);
        }
    }

    static inline TracedItemRecords s_records;

    int m_value;
    const TracedItem* m_self;  // differs from `this` in raw or bitwise copied storage
};

#endif
