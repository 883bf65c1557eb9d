// Topics.
#ifndef QOR_DDS_TOPIC_H
#define QOR_DDS_TOPIC_H

namespace qordds {
struct ImplAccess;
}

class DDSTopicDescription {
  public:
    virtual ~DDSTopicDescription() {}
    virtual const char* get_name() = 0;
    virtual const char* get_type_name() = 0;
};

class DDSTopic : public DDSTopicDescription {
  public:
    const char* get_name() override;
    const char* get_type_name() override;

    class Impl;  // binding-internal
    explicit DDSTopic(Impl* impl) : impl_(impl) {}
    ~DDSTopic() override;

  private:
    friend struct qordds::ImplAccess;
    DDSTopic(const DDSTopic&) = delete;
    DDSTopic& operator=(const DDSTopic&) = delete;
    Impl* impl_;
};

#endif
