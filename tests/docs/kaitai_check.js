// Reads modules with what the Kaitai Struct compiler makes of a description, and expects what velmdump says of them.
//
// usage: node kaitai_check.js DESCRIPTION VELMDUMP MODULE...
'use strict';
const assert = require('assert');
const {execFileSync} = require('child_process');
const fs = require('fs');
const Module = require('module');

const KaitaiStream = require('kaitai-struct/KaitaiStream');
const Compiler = require('kaitai-struct-compiler');

/// The description is YAML of the plainest kind: maps, lists, folded scalars. So no YAML library is needed.
function yaml(text) {
    const lines = text.split('\n').filter((line) => !/^\s*(#|$)/.test(line));
    let at = 0;
    const depth = (line) => line.search(/\S/);
    const scalar = (word) => {
        if (/^'.*'$/.test(word)) return word.slice(1, -1);
        if (/^(0x[0-9a-fA-F]+|\d+)$/.test(word)) return Number(word);
        return word === 'true' ? true : word;
    };
    function value(indent, word) {
        if (word === '>-') {
            const folded = [];
            while (at < lines.length && depth(lines[at]) > indent) folded.push(lines[at++].trim());
            return folded.join(' ');
        }
        return word !== '' ? scalar(word) : block(depth(lines[at]));
    }
    function block(indent) {
        const list = lines[at].trim().startsWith('- ');
        const result = list ? [] : {};
        while (at < lines.length && depth(lines[at]) === indent) {
            if (list) {
                lines[at] = lines[at].replace('- ', '  ');
                result.push(block(indent + 2));
            } else {
                const [, key, word] = lines[at++].match(/^\s*('[^']*'|[^:]+|):\s*(.*)$/);
                result[scalar(key)] = value(indent, word);
            }
        }
        return result;
    }
    return block(0);
}

async function parser(description) {
    const compiler = Compiler.compile ? Compiler : new Compiler();
    const files = await compiler.compile('javascript', yaml(fs.readFileSync(description, 'utf8')), null, false);
    const compiled = new Module('Velm');
    compiled.paths = Module._nodeModulePaths(__dirname).concat(process.env.NODE_PATH);
    compiled._compile(files['Velm.js'], 'Velm.js');
    const exported = compiled.exports;
    return exported.Velm || exported;
}

const hex = (data) => Buffer.from(data).toString('hex').toUpperCase();

function relocation(r, Velm) {
    const {field, number} = r.symbolWord;
    const told = {offset: r.place, type: r.type, displacement: r.displacement};
    if (r.operand === Velm.Operand.FIELD)
        told.field = {offset: field.bitOffset, size: field.bits, container: field.containerBits};
    else if (r.operand === Velm.Operand.SYMBOL && number !== 0xFFFFFFFF)
        told.symbol = number;
    else
        told.value = number;
    return told;
}

/// What velmdump --json says, as far as it is in the bytes.
function reading(path, Velm) {
    const root = new Velm(new KaitaiStream(fs.readFileSync(path)));
    const {header: h, verification: v, sections, symbols} = root.module;
    return {
        byte_order: root.byteOrderFirst === Velm.ByteOrder.BIG ? 'big' : 'little',
        header: {string_table_size: h.stringTableSize, entry_point: h.entryPoint, byte_order_word: h.byteOrderWord,
                 loader_string_size: h.loaderStringSize, symbols: h.numSymbols, longest_string: h.longestString,
                 sections: h.numSections, relocated_sections: h.numRelocatedSections, target_id: h.targetId,
                 flags: h.fileFlags, entry_section: h.entrySection, checksum: h.checksum},
        verification: {time_stamp: v.timeStamp, section_header_checksum: v.sectionHeaderChecksum,
                       string_table_checksum: v.stringTableChecksum, symbol_table_checksum: v.symbolTableChecksum,
                       checksum: v.checksum},
        sections: sections.map((s) => ({
            name: s.name.text, run_address: s.runAddress, load_address: s.loadAddress, size: s.size, page: s.page,
            flags: s.flags, first_packet: s.firstPacket,
            packets: (s.packets || []).map((p) => ({
                checksum: p.checksum, data: hex(p.data), relocations: p.relocations.map((r) => relocation(r, Velm))}))})),
        symbols: symbols.map((s) => ({
            name: s.isNamed ? s.name.text : null, value: s.value, section: s.section, class: s.storageClass})),
    };
}

/// What velmdump's document says of the same members; it works out more than is in the bytes.
function same_members(told, said) {
    if (Array.isArray(told))
        return Array.isArray(said) && said.length === told.length ? told.map((t, i) => same_members(t, said[i])) : said;
    if (told === null || typeof told !== 'object')
        return said;
    return Object.fromEntries(Object.keys(told).map((key) => [key, same_members(told[key], said && said[key])]));
}

function expected(velmdump, path, told) {
    return same_members(told, JSON.parse(execFileSync(velmdump, ['show', '--json', path], {maxBuffer: 1 << 28})));
}

async function main([description, velmdump, ...modules]) {
    const Velm = await parser(description);
    let records = 0;
    for (const path of modules) {
        const read = reading(path, Velm);
        assert.deepStrictEqual(read, expected(velmdump, path, read), path);
        for (const s of read.sections)
            for (const p of s.packets)
                records += p.relocations.length;
    }
    assert(modules.length > 0 && records > 0);
    console.log(`kaitai: ${modules.length} modules with ${records} relocations, as velmdump reads them`);
}

main(process.argv.slice(2)).catch((error) => {
    console.error(error.message || error);
    process.exit(1);
});
