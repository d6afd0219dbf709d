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
    explicit allocation_scope(const char* message);
    ~allocation_scope();
    allocation_scope(const allocation_scope&) = delete;
    allocation_scope& operator=(const allocation_scope&) = delete;

private:
    const char* outer_;
};

#endif
