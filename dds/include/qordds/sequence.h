// The DDS sequence: a bounded, growable array that either owns its elements or holds a
// buffer loaned to it (by a DataReader's take, for instance) until the loan is returned.
#ifndef QOR_DDS_SEQUENCE_H
#define QOR_DDS_SEQUENCE_H

#include <cstddef>
#include <cstdint>
#include <new>

#include "qordds/string.h"
#include "qordds/type_plugin.h"

// Logs a refused sequence operation through the middleware logger.
void DDS_Sequence_log_error(const char* operation, const char* reason);

// How a sequence initializes, copies and releases one element of type T.
template <class T>
struct DDSSequenceElement {
    static void initialize(T& element) { element = T(); }
    static void copy(T& target, const T& source) { target = source; }
    static void finalize(T& element) { element = T(); }
};

// String elements are middleware strings owned by the sequence; new ones are empty, not null.
template <>
struct DDSSequenceElement<char*> {
    static void initialize(char*& element) { element = DDS_String_dup(""); }
    static void copy(char*& target, char* const& source) { DDS_String_replace(&target, source); }
    static void finalize(char*& element) {
        DDS_String_free(element);
        element = nullptr;
    }
};

template <class T>
class DDSSequence {
  public:
    explicit DDSSequence(int32_t new_max = 0) {
        if (new_max > 0) {
            maximum(new_max);
        }
    }
    DDSSequence(const DDSSequence& other) { copy_from(other); }
    DDSSequence& operator=(const DDSSequence& other) {
        if (this != &other) {
            copy_from(other);
        }
        return *this;
    }
    ~DDSSequence() {
        if (owned_) {
            release_owned(buffer_, maximum_);
        }
    }

    int32_t length() const { return length_; }
    int32_t maximum() const { return maximum_; }
    int32_t absolute_maximum() const { return absolute_maximum_; }
    bool has_ownership() const { return owned_; }
    bool has_discontiguous_buffer() const { return discontiguous_ != nullptr; }

    // Sets the length; new elements (up to the maximum) are freshly initialized.
    bool length(int32_t new_length) {
        if (!owned_) {
            return refuse("length", "buffer must not be loaned");
        }
        if (new_length < 0) {
            return refuse("length", "negative argument");
        }
        if (new_length > maximum_) {
            return refuse("length", "new length cannot be larger than maximum");
        }
        for (int32_t i = new_length; i < length_; ++i) {
            DDSSequenceElement<T>::finalize(buffer_[i]);
            DDSSequenceElement<T>::initialize(buffer_[i]);
        }
        length_ = new_length;
        return true;
    }

    // Reallocates the owned buffer, keeping the first elements that still fit.
    bool maximum(int32_t new_max) {
        if (!owned_) {
            return refuse("maximum", "buffer must not be loaned");
        }
        if (new_max < 0) {
            return refuse("maximum", "negative argument");
        }
        if (new_max > absolute_maximum_) {
            return refuse("maximum", "new max cannot be larger than absolute maximum");
        }
        if (new_max == maximum_) {
            return true;
        }
        T* fresh = nullptr;
        if (new_max > 0) {
            fresh = new (std::nothrow_t{}) T[static_cast<size_t>(new_max)];
            if (fresh == nullptr) {
                return refuse("maximum", "out of memory");
            }
            for (int32_t i = 0; i < new_max; ++i) {
                DDSSequenceElement<T>::initialize(fresh[i]);
            }
        }
        int32_t kept = length_ < new_max ? length_ : new_max;
        for (int32_t i = 0; i < kept; ++i) {
            DDSSequenceElement<T>::copy(fresh[i], buffer_[i]);
        }
        release_owned(buffer_, maximum_);
        buffer_ = fresh;
        maximum_ = new_max;
        length_ = kept;
        return true;
    }

    bool absolute_maximum(int32_t new_absolute_max) {
        if (new_absolute_max < 0) {
            return refuse("absolute_maximum", "negative argument");
        }
        if (new_absolute_max < maximum_) {
            return refuse("absolute_maximum", "new absolute maximum cannot be below maximum");
        }
        absolute_maximum_ = new_absolute_max;
        return true;
    }

    // Grows the maximum to `new_max` when needed, then sets the length.
    bool ensure_length(int32_t new_length, int32_t new_max) {
        if (new_length < 0 || new_max < 0) {
            return refuse("ensure_length", "negative argument");
        }
        if (new_length > new_max) {
            return refuse("ensure_length", "length cannot be larger than maximum");
        }
        if (new_length > maximum_ && !maximum(new_max)) {
            return false;
        }
        return length(new_length);
    }

    // Element i, or null (logged) when i is not below the length.
    T* get_reference(int32_t i) {
        if (i < 0 || i >= length_) {
            refuse("get_reference", "index out of bounds");
            return nullptr;
        }
        return discontiguous_ != nullptr ? discontiguous_[i] : &buffer_[i];
    }
    const T* get_reference(int32_t i) const {
        return const_cast<DDSSequence*>(this)->get_reference(i);
    }

    // Element i; an index out of bounds is logged and yields a spare default element.
    T& operator[](int32_t i) {
        T* element = get_reference(i);
        if (element == nullptr) {
            spare_ = T();
            return spare_;
        }
        return *element;
    }
    const T& operator[](int32_t i) const { return (*const_cast<DDSSequence*>(this))[i]; }

    bool from_array(const T* array, int32_t count) {
        if (!owned_) {
            return refuse("from_array", "buffer must not be loaned");
        }
        if (count < 0 || (count > 0 && array == nullptr)) {
            return refuse("from_array", "negative argument");
        }
        if (count > maximum_ && !maximum(count)) {
            return false;
        }
        for (int32_t i = 0; i < count; ++i) {
            DDSSequenceElement<T>::copy(buffer_[i], array[i]);
        }
        return length(count);
    }

    bool copy_from(const DDSSequence& source) {
        if (!owned_) {
            return refuse("copy_from", "buffer must not be loaned");
        }
        int32_t count = source.length();
        if (count > maximum_ && !maximum(count)) {
            return false;
        }
        for (int32_t i = 0; i < count; ++i) {
            DDSSequenceElement<T>::copy(buffer_[i], *source.get_reference(i));
        }
        return length(count);
    }

    // How elements are allocated and released (whether their pointer members get memory).
    // The policy can change only while the sequence holds no buffer (maximum 0).
    bool set_element_allocation_params(const DDS_TypeAllocationParams_t& params) {
        if (maximum_ != 0) {
            return refuse("set_element_allocation_params", "maximum must be 0");
        }
        allocation_params_ = params;
        return true;
    }
    bool set_element_deallocation_params(const DDS_TypeDeallocationParams_t& params) {
        if (maximum_ != 0) {
            return refuse("set_element_deallocation_params", "maximum must be 0");
        }
        deallocation_params_ = params;
        return true;
    }
    const DDS_TypeAllocationParams_t& get_element_allocation_params() const {
        return allocation_params_;
    }
    const DDS_TypeDeallocationParams_t& get_element_deallocation_params() const {
        return deallocation_params_;
    }

    // Loans: the sequence borrows a buffer it does not own until unloan().
    bool loan_contiguous(T* buffer, int32_t new_length, int32_t new_max) {
        if (!can_take_loan("loan_contiguous", new_length, new_max)) {
            return false;
        }
        buffer_ = buffer;
        discontiguous_ = nullptr;
        start_loan(new_length, new_max);
        return true;
    }

    bool loan_discontiguous(T** buffer, int32_t new_length, int32_t new_max) {
        if (!can_take_loan("loan_discontiguous", new_length, new_max)) {
            return false;
        }
        buffer_ = nullptr;
        discontiguous_ = buffer;
        start_loan(new_length, new_max);
        return true;
    }

    bool unloan() {
        if (owned_) {
            return refuse("unloan", "buffer must be loaned");
        }
        buffer_ = nullptr;
        discontiguous_ = nullptr;
        owned_ = true;
        maximum_ = 0;
        length_ = 0;
        read_token1_ = nullptr;
        read_token2_ = nullptr;
        return true;
    }

    T* get_contiguous_buffer() const { return discontiguous_ == nullptr ? buffer_ : nullptr; }
    T** get_discontiguous_buffer() const { return discontiguous_; }

    // The loaning reader's bookkeeping, carried back to it by return_loan.
    void set_read_token(void* token1, void* token2) {
        read_token1_ = token1;
        read_token2_ = token2;
    }
    void get_read_token(void*& token1, void*& token2) const {
        token1 = read_token1_;
        token2 = read_token2_;
    }

  private:
    static bool refuse(const char* operation, const char* reason) {
        DDS_Sequence_log_error(operation, reason);
        return false;
    }

    static void release_owned(T* buffer, int32_t count) {
        for (int32_t i = 0; i < count; ++i) {
            DDSSequenceElement<T>::finalize(buffer[i]);
        }
        delete[] buffer;
    }

    bool can_take_loan(const char* operation, int32_t new_length, int32_t new_max) {
        if (!owned_) {
            return refuse(operation, "buffer must not be loaned");
        }
        if (maximum_ != 0) {
            return refuse(operation, "maximum must be 0 to take a loan");
        }
        if (new_length < 0 || new_max < 0) {
            return refuse(operation, "negative argument");
        }
        if (new_length > new_max) {
            return refuse(operation, "length cannot be larger than maximum");
        }
        return true;
    }

    void start_loan(int32_t new_length, int32_t new_max) {
        owned_ = false;
        length_ = new_length;
        maximum_ = new_max;
    }

    T* buffer_ = nullptr;
    T** discontiguous_ = nullptr;
    int32_t length_ = 0;
    int32_t maximum_ = 0;
    int32_t absolute_maximum_ = INT32_MAX;
    bool owned_ = true;
    void* read_token1_ = nullptr;
    void* read_token2_ = nullptr;
    DDS_TypeAllocationParams_t allocation_params_ = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
    DDS_TypeDeallocationParams_t deallocation_params_ = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT;
    T spare_{};
};

typedef DDSSequence<char*> DDS_StringSeq;

#endif
