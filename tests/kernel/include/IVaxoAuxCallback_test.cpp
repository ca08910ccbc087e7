// The auxiliary audio callback: its one operation, and the destructor behind it.
#include "IVaxoAuxCallback.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "kernel/include/VirtualSlot.h"

using Mediq::IVaxoAuxCallback;

namespace {

class Tone final : public IVaxoAuxCallback {
public:
    explicit Tone(bool& gone) : m_gone(gone) {}
    ~Tone() override { m_gone = true; }

    void OnAuxCallback(unsigned char* pData, int* pDataLen, int* pSampleRate,
                       int* pNumChannels) override {
        pData[0] = 7;
        *pDataLen = 1;
        *pSampleRate = 44100;
        *pNumChannels = 2;
    }

private:
    bool& m_gone;
};

class Longer : public IVaxoAuxCallback {
public:
    virtual void Next() {}
};

}  // namespace

TEST(IVaxoAuxCallback, TheOperationComesFirstThenTheTwoDestructors) {
    EXPECT_EQ((SlotOf<void(unsigned char*, int*, int*, int*)>(&IVaxoAuxCallback::OnAuxCallback)),
              0);
    EXPECT_EQ(SlotOf<void()>(&Longer::Next), 3);
}

TEST(IVaxoAuxCallback, IsAnAbstractClassWithoutData) {
    EXPECT_TRUE(std::is_abstract_v<IVaxoAuxCallback>);
    EXPECT_EQ(sizeof(IVaxoAuxCallback), sizeof(void*));
}

TEST(IVaxoAuxCallback, AnObjectMayBeDestroyedThroughTheInterface) {
    EXPECT_TRUE(std::has_virtual_destructor_v<IVaxoAuxCallback>);
    bool gone = false;
    std::unique_ptr<IVaxoAuxCallback> aux = std::make_unique<Tone>(gone);
    aux.reset();
    EXPECT_TRUE(gone);
}

TEST(IVaxoAuxCallback, TheApplicationFillsTheBufferAndTheThreeNumbers) {
    bool gone = false;
    Tone tone(gone);
    IVaxoAuxCallback& aux = tone;
    unsigned char data[4] = {};
    int length = sizeof(data);
    int rate = 0;
    int channels = 0;
    aux.OnAuxCallback(data, &length, &rate, &channels);
    EXPECT_EQ(data[0], 7);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(rate, 44100);
    EXPECT_EQ(channels, 2);
}
