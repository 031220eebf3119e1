// The capability record of each captured drive, worked out by hand from the
// MODE SENSE(10) page 2Ah bytes and the GET CONFIGURATION feature list in its
// drive file. Offsets below count from the first byte of the answer; p[n] is
// byte n of the mode page, d[n] byte n of a feature descriptor (its 4-byte
// header included).

#include <gtest/gtest.h>

#include "DeviceTestSupport.h"
#include "device/Capabilities.h"

using namespace devtest;

namespace {

// Runs ReadCapabilities on the drive and checks that it took MODE SENSE(10)
// and then the full feature list, and nothing else.
DriveCapabilities ReadFromSharedDrive(const char* name) {
    EmulatedDrive drive(LoadSharedDrive(name));
    DriveCapabilities caps{};
    EXPECT_TRUE(ReadCapabilities(drive.device, caps));
    const auto& t = drive.Transcript();
    EXPECT_EQ(t.size(), 2u);
    if (t.size() == 2) {
        EXPECT_EQ(t[0].cdb[0], 0x5A);
        EXPECT_EQ(t[0].status, 0);
        EXPECT_EQ(t[1].cdb[0], 0x46);
    }
    return caps;
}

// Page bits that every one of the three LG drives' pages give before the
// feature list is walked (all three pages start 2A xx 3F 37 FD 7F 29 00):
//   bit 0 valid
//   p[2]=3F: bits 0-5 -> page bits 1-6
//   p[3]=37 (0011 0111): bits 0,1,2,4,5 set -> page bits 7,8,9,10,11
//   p[4]=FD (1111 1101): all but bit 1 -> page bits 12,14-19 (13 clear)
//   p[5]=7F: bits 0-6 -> page bits 20-26 (27 clear)
//   p[6]=29 (0010 1001): bit 0 lock -> 28, bit 3 eject -> 31; loading = 29h >> 5 = 1
//   => 0x00000FFF | 0x000FD000 | 0x07F00000 | 0x90000000 = 0x97FFDFFF
constexpr uint32_t kLgPageBits = 0x97FFDFFFu;

}  // namespace

TEST(CapabilitiesOfCapturedDrives, DvdPlusRwWriter) {
    // dvd-writer-blank-dvdplusrw.drive
    // Mode: header byte 7 = 00, so the page is at 8.
    //   page bits 0x97FFDFFF as above; p[7]=00; loading 1
    //   p[8-9]=2113h 8467 max read; p[12-13]=0300h 768 KB buffer;
    //   p[14-15]=2113h 8467 current read; p[18-19]=1B90h 7056 max write;
    //   p[20-21]=1B90h 7056 current write
    // Features (data length 108h = 264, walk 8..268):
    //   @116 001F DVD Read d[6]=03      -> media 0, 1, 2
    //   @156 002A DVD+RW d[4]=01        -> media 5, 21
    //   @164 002B DVD+R d[4]=01 (not current) -> media 3, 19
    //   @188 002F DVD-R/-RW Write d[4]=4E (0100 1110): bit 3 -> media 16 and
    //        page bit 10 := 1 (already 1); bit 1 -> media 17 and 18
    //   @196 0033 Layer Jump            -> media 30
    //   @208 003B DVD+R DL d[4]=01      -> media 4, 20
    //   media = 0x3F | 0x3F0000 | 0x40000000 = 0x403F003F
    //   @216 0100 -> drive 1; @244 0106 -> 5; @252 0107 -> 6; @260 010B -> 8
    //   drive = 0x002 | 0x020 | 0x040 | 0x100 = 0x162
    ExpectCapsEqual(ReadFromSharedDrive("dvd-writer-blank-dvdplusrw.drive"),
                    Caps(kLgPageBits, 1, 0, 768, 8467, 7056, 8467, 7056, 0x403F003Fu, 0x162u));
}

TEST(CapabilitiesOfCapturedDrives, DvdRamWriterHasPageDvdRWriteClearedByItsWriteDescriptor) {
    // dvdram-writer-recorded-dvdrw.drive
    // Mode: page at 8, same bytes 2-7 as above -> 0x97FFDFFF before the walk.
    //   p[8-9]=15A4h 5540 max read; p[12-13]=0800h 2048 KB;
    //   p[14-15]=15A4h 5540 current read; p[18-19]=0AD2h 2770 max write;
    //   p[20-21]=0AD2h 2770 current write
    // Features (data length F0h = 240, walk 8..244):
    //   @104 001F DVD Read d[6]=00       -> media 1 only
    //   @144 002A DVD+RW d[4]=01         -> media 5, 21
    //   @152 002B DVD+R d[4]=01          -> media 3, 19
    //   @176 002F d[4]=46 (0100 0110): bit 3 clear -> media 16 clear and page
    //        bit 10 cleared although p[3] bit 4 set it; bit 1 -> media 17, 18
    //   no 0033, no 003B, no BD or HD DVD descriptors
    //   media = 0x2A | 0x60000 | 0x80000 | 0x200000 = 0x002E002A
    //   page bits = 0x97FFDFFF & ~0x400 = 0x97FFDBFF
    //   @192 0100 -> 1; @220 0106 -> 5; @228 0107 -> 6; @236 010B -> 8: 0x162
    ExpectCapsEqual(ReadFromSharedDrive("dvdram-writer-recorded-dvdrw.drive"),
                    Caps(0x97FFDBFFu, 1, 0, 2048, 5540, 2770, 5540, 2770, 0x002E002Au, 0x162u));
}

TEST(CapabilitiesOfCapturedDrives, CdWriterHasNoDvdBitsAndNoMediaFeatures) {
    // cd-writer-blank-cdr.drive
    // Mode: page at 8: 2A 32 07 07 FD FF 29 00 1B 90 01 00 08 00 1B 90 00 00 1B 90 1B 90
    //   p[2]=07 -> page bits 1,2,3 (0x0E)
    //   p[3]=07: bits 0,1,2 -> page bits 7,8,9 (0x380); bits 4,5 clear -> 10, 11 clear
    //   p[4]=FD -> 0x000FD000; p[5]=FF -> 0x0FF00000; p[6]=29 -> 28, 31; loading 1
    //   => 0x1 | 0x0E | 0x380 | 0xFD000 | 0xFF00000 | 0x90000000 = 0x9FFFD38F
    //   p[8-9]=1B90h 7056 max read; p[12-13]=0800h 2048 KB; p[14-15]=7056;
    //   p[18-19]=7056 max write; p[20-21]=7056 current write
    // Features (data length 70h = 112, walk 8..116): 0000 0001 0002 0003 0010
    //   001D 001E 0021 002D 002E 0100 0105 -> no media bit; 0100 -> drive 1
    ExpectCapsEqual(ReadFromSharedDrive("cd-writer-blank-cdr.drive"),
                    Caps(0x9FFFD38Fu, 1, 0, 2048, 7056, 7056, 7056, 7056, 0u, 0x2u));
}

TEST(CapabilitiesOfCapturedDrives, BdWriterSetsBdReadAndWriteBitsFromTheirByteRanges) {
    // bd-writer-recorded-bdr.drive
    // Mode: page at 8, bytes 2-7 as the other LG drives -> 0x97FFDFFF.
    //   p[8-9]=2113h 8467 max read; p[12-13]=1000h 4096 KB; p[14-15]=8467;
    //   p[18-19]=1B90h 7056 max write; p[20-21]=7056 current write
    // Features (data length 154h = 340, walk 8..344):
    //   @132 001F d[6]=03 -> media 0,1,2;  @152 002A d[4]=01 -> 5, 21
    //   @160 002B d[4]=01 -> 3, 19;        @168 002F d[4]=4E -> 16,17,18, page 10 := 1
    //   @176 0033 -> 30;                   @188 003B d[4]=01 -> 4, 20
    //   @196 0040 BD Read, length 20h (36 bytes):
    //        d[8-15]  = 00 00 00 00 00 0E 00 00 -> 13
    //        d[16-23] = 00 00 00 00 00 0E 00 00 -> 14
    //        d[24-31] = 00 00 00 00 00 06 00 00 -> 15
    //   @232 0041 BD Write, length 18h (28 bytes):
    //        d[8-15]  = 00 00 00 00 00 0E 00 00 -> 29
    //        d[16-23] = 00 00 00 00 00 0E 00 00 -> 28
    //   @260 0042 TSR -> 31
    //   media = 0x3F | 0xE000 | 0x3F0000 | 0xF0000000 = 0xF03FE03F
    //   @264 0100 -> 1; @276 0106 (not current) -> 5; @284 0107 -> 6;
    //   @308 010B (not current) -> 8; @336 010D -> 9: drive = 0x362
    ExpectCapsEqual(ReadFromSharedDrive("bd-writer-recorded-bdr.drive"),
                    Caps(kLgPageBits, 1, 0, 4096, 8467, 7056, 8467, 7056, 0xF03FE03Fu, 0x362u));
}
