// What is said when memory runs out.
//
// Every allocation of the program goes through operator new, whose handler prints the message that is current and ends
// the run. So nobody tests a pointer, and nobody catches std::bad_alloc.
#ifndef MODFORGE_MSG_ALLOCATION_H
#define MODFORGE_MSG_ALLOCATION_H

/// Makes the handler answer for operator new; it ends the run with `status`. Called once, before anything allocates.
void install_allocation_handler(int status = 1);

/// While it lives, running out of memory is reported with `message` (a whole line, "ERROR: " and line break included;
/// the text must outlive the object). Nested objects: the innermost speaks.
class allocation_scope {
public:
    explicit allocation_scope(const char* message) : outer_(current_) { current_ = message; }
    ~allocation_scope() { current_ = outer_; }
    allocation_scope(const allocation_scope&) = delete;
    allocation_scope& operator=(const allocation_scope&) = delete;

    /// What is said now.
    static const char* current() { return current_; }

private:
    static constinit inline const char* current_ = "ERROR: Unable to allocate storage for the conversion\n";
    const char* outer_;
};

#endif
