# A VELM module for Kaitai Struct (https://kaitai.io). docs/module-format.md says the same for people.
#
# Reads both byte orders. Sizes of sections count address units, whose width is not in the module; everything here is
# found without it. Checksums are read and not compared.
meta:
  id: velm
  title: VELM module
  file-extension: vlm
  ks-version: '0.9'
doc: A dynamically loadable module made from a linked COFF executable.
doc-ref: module-format.md
seq:
  - id: module
    type: module
instances:
  byte_order_first:
    pos: 8
    type: u1
    enum: byte_order
    doc: First byte of the word 00010203, in the order of everything else.
enums:
  byte_order:
    0: big
    3: little
  section_type:
    0: code
    1: data
    2: uninitialised
    3: initialisation_table
  operand:
    0: symbol
    1: field
    2: constant
    3: nothing
types:
  module:
    meta:
      endian:
        switch-on: _root.byte_order_first
        cases:
          'byte_order::little': le
          'byte_order::big': be
    seq:
      - id: header
        type: file_header
      - id: verification
        type: verification_record
      - id: strings
        size: header.string_table_size
      - id: sections
        type: section_header
        repeat: expr
        repeat-expr: header.num_sections
      - id: symbols
        type: symbol_record
        repeat: expr
        repeat-expr: header.num_symbols
    types:
      file_header:
        seq:
          - id: string_table_size
            type: u4
            doc: Bytes, a multiple of 4.
          - id: entry_point
            type: u4
          - id: byte_order_word
            type: u4
            valid: 0x00010203
          - id: loader_string_size
            type: u4
            doc: Bytes of the string table that hold the names of module and sections.
          - id: num_symbols
            type: u2
          - id: longest_string
            type: u2
          - id: num_sections
            type: u2
          - id: num_relocated_sections
            type: u2
          - id: reserved
            type: u2
            valid: 0
          - id: target_id
            type: u2
          - id: file_flags
            type: u2
          - id: entry_section
            type: u2
            doc: Section number; 0xffff for an absolute entry point, 0 for none.
          - id: checksum
            type: u4
        instances:
          is_stripped:
            value: (file_flags & 0x0001) != 0
          has_big_endian_contents:
            value: (file_flags & 0x0200) != 0
      verification_record:
        seq:
          - id: time_stamp
            type: u4
          - id: section_header_checksum
            type: u4
          - id: string_table_checksum
            type: u4
          - id: symbol_table_checksum
            type: u4
          - id: checksum
            type: u4
      name:
        doc: A name of the string table. Any bytes but NUL; ASCII is how they are shown.
        params:
          - id: offset
            type: u4
        instances:
          text:
            io: _root._io
            pos: 56 + offset
            type: strz
            encoding: ASCII
      section_header:
        seq:
          - id: name_offset
            type: u4
          - id: run_address
            type: u4
            doc: Address units, as the next two.
          - id: load_address
            type: u4
          - id: size
            type: u4
          - id: page
            type: u2
          - id: flags
            type: u2
          - id: first_packet
            type: u4
            doc: File offset; 0 when there are no packets.
          - id: num_packets
            type: u4
        instances:
          name:
            type: name(name_offset)
          type:
            value: flags & 0x000f
            enum: section_type
          is_relocated:
            value: (flags & 0x0010) != 0
          has_contents:
            value: (flags & 0x0020) != 0
          log2_alignment:
            value: flags >> 8
          packets:
            io: _root._io
            pos: first_packet
            type: packet
            repeat: expr
            repeat-expr: num_packets
            if: num_packets != 0
      symbol_record:
        seq:
          - id: name_offset
            type: u4
          - id: value
            type: u4
          - id: section
            type: s2
            doc: Number; 0 undefined, -1 absolute, -2 debugging.
          - id: storage_class
            type: u2
        instances:
          is_named:
            value: storage_class != 3
          is_import:
            value: is_named and section == 0
          is_export:
            value: is_named and section != 0
          name:
            type: name(name_offset)
            if: is_named
      packet:
        seq:
          - id: num_relocations
            type: u4
          - id: data_size
            type: u4
          - id: checksum
            type: u4
          - id: data
            size: data_size
          - id: padding
            size: (4 - data_size % 4) % 4
          - id: relocations
            type: relocation
            repeat: expr
            repeat-expr: num_relocations
      relocation:
        seq:
          - id: place
            type: u4
            doc: Address units from the start of the packet's data.
          - id: symbol_word
            size: 4
            type: symbol_word
          - id: displacement
            type: u2
          - id: type
            type: u2
        instances:
          operand:
            value: >-
              ((type >= 0x400d and type <= 0x4010) or type == 0x4016) ? operand::field :
              (type == 0x4012 or type == 0x4013) ? operand::constant :
              ((type >= 0x4000 and type <= 0x400c) or type == 0x4014 or type == 0x4015) ? operand::nothing :
              operand::symbol
      symbol_word:
        doc: One of the two, as `operand` of the relocation says.
        instances:
          number:
            doc: A symbol number, 0xffffffff for none, or a constant.
            pos: 0
            type: u4
            if: _parent.operand != operand::field
          field:
            pos: 0
            type: field_bytes
            if: _parent.operand == operand::field
      field_bytes:
        doc: Single bytes in this order, whatever the byte order of the module.
        seq:
          - id: bit_offset
            type: u1
          - id: bits
            type: u1
          - id: container_bits
            type: u1
          - id: zero
            type: u1
            valid: 0
