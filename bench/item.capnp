# What item messages would be as Cap'n Proto structs.
@0xd1c1a5f0b4a3c2e7;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("kelvo::bench::packed");

struct ItemSet {
  argument @0 :UInt32;
  type @1 :UInt32;
  path @2 :Text;
  value @3 :Data;
}

struct BulkItem {
  operation @0 :UInt32;
  word2 @1 :UInt32;
  type @2 :UInt32;
  word4 @3 :UInt32;
  name @4 :Text;
  data @5 :Data;
}

struct Bulk {
  word1 @0 :UInt32;
  word2 @1 :UInt32;
  leading @2 :Text;
  items @3 :List(BulkItem);
}
