// SPDX-License-Identifier: Apache-2.0
#include <elf.h>
#include <gmock/gmock.h>
#include <string.h>

#include <fstream>
#include <iterator>
#include <map>

namespace orvel {
namespace {

#ifdef __aarch64__
constexpr bool kIsArm = true;
#else
constexpr bool kIsArm = false;
#endif

// The plug-in's file as a loader sees it: program headers and the dynamic section.
class BinaryShape : public testing::Test {
  protected:
    BinaryShape() {
        std::ifstream file(ORVEL_PLUGIN, std::ios::binary);
        mFile.assign(std::istreambuf_iterator<char>(file), {});
        mHeader = At<Elf64_Ehdr>(0);
        for (size_t i = 0; i < mHeader.e_phnum; ++i)
            mSegments.push_back(At<Elf64_Phdr>(mHeader.e_phoff + i * sizeof(Elf64_Phdr)));
        const Elf64_Phdr dynamic = Segment(PT_DYNAMIC);
        for (size_t at = 0; at < dynamic.p_filesz; at += sizeof(Elf64_Dyn)) {
            const auto entry = At<Elf64_Dyn>(dynamic.p_offset + at);
            mDynamic.emplace(entry.d_tag, entry.d_un.d_val);
        }
    }

    template <typename Record>
    Record At(size_t offset) const {
        Record record;
        memcpy(&record, mFile.substr(offset).append(sizeof(record), '\0').data(), sizeof(record));
        return record;
    }
    // The first segment of a type, or an empty one.
    Elf64_Phdr Segment(uint32_t type) const {
        for (const Elf64_Phdr& segment : mSegments) {
            if (segment.p_type == type) return segment;
        }
        return {};
    }
    uint64_t Dynamic(int64_t tag) const { return mDynamic.count(tag) != 0 ? mDynamic.find(tag)->second : 0; }

    std::string mFile;
    Elf64_Ehdr mHeader;
    std::vector<Elf64_Phdr> mSegments;
    std::multimap<int64_t, uint64_t> mDynamic;
};

TEST_F(BinaryShape, IsHardened) {
    ASSERT_EQ(mFile.compare(0, 6, ELFMAG "\2\1"), 0);  // 64 bits, little-endian
    EXPECT_EQ(mHeader.e_machine, kIsArm ? EM_AARCH64 : EM_X86_64);
    EXPECT_TRUE(Dynamic(DT_FLAGS) & DF_BIND_NOW && Dynamic(DT_FLAGS_1) & DF_1_NOW);
    EXPECT_TRUE(mDynamic.count(DT_TEXTREL) == 0 && !(Dynamic(DT_FLAGS) & DF_TEXTREL));
    EXPECT_EQ(Segment(PT_GNU_STACK).p_flags, unsigned{PF_R | PF_W});
    bool hasBuildId = false;
    for (const Elf64_Phdr& segment : mSegments) {
        EXPECT_NE(segment.p_flags & (PF_W | PF_X), unsigned{PF_W | PF_X}) << "type " << segment.p_type;
        const char kBuildId[] = "\4\0\0\0\x14\0\0\0\3\0\0\0GNU";  // a note of that type with 20 bytes
        const std::string note = mFile.substr(segment.p_offset, segment.p_filesz);
        hasBuildId |= segment.p_type == PT_NOTE && note.compare(0, 16, kBuildId, 16) == 0;
    }
    EXPECT_TRUE(hasBuildId);
    // What the loader makes read-only holds the pointers through which the library calls.
    for (const int64_t tag : {DT_INIT_ARRAY, DT_FINI_ARRAY, DT_PLTGOT})
        EXPECT_LT(Dynamic(tag) - Segment(PT_GNU_RELRO).p_vaddr, Segment(PT_GNU_RELRO).p_memsz) << tag;
}

TEST_F(BinaryShape, IsQuickToLoad) {
    // In the first segment, addresses are file offsets.
    std::vector<std::string> needed;
    for (auto [entry, end] = mDynamic.equal_range(DT_NEEDED); entry != end; ++entry)
        needed.emplace_back(&mFile.at(Dynamic(DT_STRTAB) + entry->second));
    EXPECT_THAT(needed, testing::Not(testing::IsEmpty()));
    EXPECT_THAT(needed, testing::IsSubsetOf({"liborvel_platform.so", "libstdc++.so.6", "libgcc_s.so.1",
                                             "libm.so.6", "libc.so.6"}));

    // One fills the codec tables. The compiler's start files bring one, and on ARM one that asks for atomics.
    const uint64_t initialisers = Dynamic(DT_INIT_ARRAYSZ) / sizeof(Elf64_Addr);
    EXPECT_EQ(initialisers, kIsArm ? 3u : 2u);
    printf("%s: %zu bytes stripped, %d initialisers, %d relocations\n", kIsArm ? "arm64" : "x86-64",
           mFile.size(), static_cast<int>(initialisers),
           static_cast<int>((Dynamic(DT_RELASZ) + Dynamic(DT_PLTRELSZ)) / sizeof(Elf64_Rela)));
}

}  // namespace
}  // namespace orvel
