// Register words to values and back, and the grouping of a device's reads into requests.
#include <gtest/gtest.h>

#include <cmath>

#include "ModbusMap.h"

namespace {

ModbusValueFormat Value(ModbusTable table, int address, ModbusType type, bool little = false, double scale = 1) {
    ModbusValueFormat v;
    v.Table = table;
    v.Address = address;
    v.Type = type;
    v.LowWordFirst = little;
    v.Scale = scale;
    return v;
}

TEST(ModbusDecode, WordOrderSignAndScale) {
    const uint16_t words[2] = {0x1234, 0x5678};
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Uint32), words), 0x12345678);
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Uint32, true), words), 0x56781234);
    const uint16_t negative[2] = {0xFFFF, 0xFFFE};
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Int32), negative), -2);
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Uint32), negative), 4294967294.0);
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Int16), negative), -1);
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Uint16), negative), 65535);
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Input, 0, ModbusType::Int16, false, 0.1), negative), -0.1);
    // 1234.5 as IEEE single is 0x449A5000.
    const uint16_t big[2] = {0x449A, 0x5000}, little[2] = {0x5000, 0x449A};
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Input, 0, ModbusType::Float32), big), 1234.5);
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Input, 0, ModbusType::Float32, true), little), 1234.5);
    EXPECT_DOUBLE_EQ(DecodeModbusValue(Value(ModbusTable::Input, 0, ModbusType::Float32, true, 0.001), little), 1.2345);
    const uint16_t bit[1] = {0xFF00};
    EXPECT_EQ(DecodeModbusValue(Value(ModbusTable::Coil, 0, ModbusType::Bit), bit), 1);
}

TEST(ModbusEncode, RoundTripsAndRefusesWhatDoesNotFit) {
    std::vector<uint16_t> w;
    ASSERT_TRUE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Float32), 1234.5, w));
    EXPECT_EQ(w, (std::vector<uint16_t>{0x449A, 0x5000}));
    ASSERT_TRUE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Float32, true), 1234.5, w));
    EXPECT_EQ(w, (std::vector<uint16_t>{0x5000, 0x449A}));
    ASSERT_TRUE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Int32), -2, w));
    EXPECT_EQ(w, (std::vector<uint16_t>{0xFFFF, 0xFFFE}));
    // Scale undone and rounded to the nearest: 12.34 / 0.01 = 1234.
    ASSERT_TRUE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Uint16, false, 0.01), 12.34, w));
    EXPECT_EQ(w, (std::vector<uint16_t>{1234}));
    ASSERT_TRUE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Int16), -32768, w));
    EXPECT_EQ(w, (std::vector<uint16_t>{0x8000}));
    EXPECT_FALSE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Int16), 32768, w));
    EXPECT_FALSE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Uint16), -1, w));
    EXPECT_FALSE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Uint32), 4294967296.0, w));
    EXPECT_FALSE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Float32), 1e39, w));
    EXPECT_FALSE(EncodeModbusValue(Value(ModbusTable::Holding, 0, ModbusType::Float32), NAN, w));
    EXPECT_TRUE(w.empty());
    ASSERT_TRUE(EncodeModbusValue(Value(ModbusTable::Coil, 0, ModbusType::Bit), 0.5, w));
    EXPECT_EQ(w, (std::vector<uint16_t>{1}));
    for (ModbusType type : {ModbusType::Int16, ModbusType::Uint16, ModbusType::Int32, ModbusType::Uint32, ModbusType::Float32}) {
        for (bool little : {false, true}) {
            ModbusValueFormat entry = Value(ModbusTable::Holding, 0, type, little, 0.5);
            ASSERT_TRUE(EncodeModbusValue(entry, 100.5, w));
            EXPECT_EQ(DecodeModbusValue(entry, w.data()), 100.5);
        }
    }
}

TEST(ModbusGrouping, NeighboursShareARequestUpToTheLimit) {
    std::vector<ModbusValueFormat> maps = {
        Value(ModbusTable::Holding, 10, ModbusType::Float32),  // 10-11
        Value(ModbusTable::Holding, 0, ModbusType::Uint32),    // 0-1
        Value(ModbusTable::Holding, 2, ModbusType::Int16),     // 2: joins 0-1
        Value(ModbusTable::Holding, 12, ModbusType::Uint16),   // 12: joins 10-11
        Value(ModbusTable::Holding, 11, ModbusType::Uint16),   // inside 10-11
        Value(ModbusTable::Input, 3, ModbusType::Uint16),      // another table
        Value(ModbusTable::Coil, 0, ModbusType::Bit),
        Value(ModbusTable::Coil, 1, ModbusType::Bit),
        Value(ModbusTable::Coil, 3, ModbusType::Bit),          // gap: apart
    };
    std::vector<ModbusReadRequest> r = GroupReads(maps);
    ASSERT_EQ(r.size(), 5u);
    EXPECT_EQ(std::make_tuple(r[0].Table, r[0].Start, r[0].Count, r[0].Maps), std::make_tuple(ModbusTable::Holding, 0, 3, std::vector<int>{1, 2}));
    EXPECT_EQ(std::make_tuple(r[1].Start, r[1].Count, r[1].Maps), std::make_tuple(10, 3, std::vector<int>{0, 4, 3}));
    EXPECT_EQ(std::make_tuple(r[2].Table, r[2].Start, r[2].Count), std::make_tuple(ModbusTable::Input, 3, 1));
    EXPECT_EQ(std::make_tuple(r[3].Table, r[3].Start, r[3].Count), std::make_tuple(ModbusTable::Coil, 0, 2));
    EXPECT_EQ(std::make_tuple(r[4].Start, r[4].Count), std::make_tuple(3, 1));

    // 70 float32 values back to back: 140 registers, so two requests, neither splitting a value.
    std::vector<ModbusValueFormat> run;
    for (int i = 0; i < 70; ++i) run.push_back(Value(ModbusTable::Input, 2 * i, ModbusType::Float32));
    r = GroupReads(run);
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(std::make_tuple(r[0].Start, r[0].Count, r[0].Maps.size()), std::make_tuple(0, 124, size_t{62}));
    EXPECT_EQ(std::make_tuple(r[1].Start, r[1].Count, r[1].Maps.size()), std::make_tuple(124, 16, size_t{8}));
    // 2001 coils: 2000 in one request.
    std::vector<ModbusValueFormat> bits;
    for (int i = 0; i < 2001; ++i) bits.push_back(Value(ModbusTable::Discrete, i, ModbusType::Bit));
    r = GroupReads(bits);
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(r[0].Count, ModbusMaxReadBits);
    EXPECT_EQ(std::make_tuple(r[1].Start, r[1].Count), std::make_tuple(2000, 1));
}

}  // namespace
