// Topics.
#ifndef QOR_DDS_TOPIC_H
#define QOR_DDS_TOPIC_H

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
    Impl* impl() const { return impl_; }

  private:
    DDSTopic(const DDSTopic&) = delete;
    DDSTopic& operator=(const DDSTopic&) = delete;
    Impl* impl_;
};

#endif
