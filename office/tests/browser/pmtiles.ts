// A PMTiles file in which all tiles are one image of one colour.
import {crc32, deflateSync} from 'node:zlib';

const maxZoom = 15;
const headBytes = 127;
const png = 2;

export function oneColour(red: number, green: number, blue: number): Uint8Array {
  const tile = image(red, green, blue);
  const tiles = (4 ** (maxZoom + 1) - 1) / 3;
  const directory = [1, 0, ...varint(tiles), ...varint(tile.length), 1]; // one entry, for all tiles
  const head = new DataView(new ArrayBuffer(headBytes));
  [...'PMTiles'].forEach((each, at) => head.setUint8(at, each.charCodeAt(0)));
  head.setUint8(7, 3);
  const metadata = new TextEncoder().encode('{}');
  const afterRoot = headBytes + directory.length;
  const afterMetadata = afterRoot + metadata.length;
  [headBytes, directory.length, afterRoot, metadata.length, afterMetadata, 0, afterMetadata, tile.length, tiles, 1, 1]
    .forEach((each, index) => head.setBigUint64(8 + 8 * index, BigInt(each), true));
  [1, 1, 1, png, 0, maxZoom].forEach((each, index) => head.setUint8(96 + index, each));
  [-180, -85, 180, 85].forEach((each, index) => head.setInt32(102 + 4 * index, each * 1e7, true));
  return Buffer.concat([new Uint8Array(head.buffer), Uint8Array.from(directory), metadata, tile]);
}

function varint(value: number): number[] {
  return value < 128 ? [value] : [(value % 128) + 128, ...varint(Math.floor(value / 128))];
}

function image(...colour: [number, number, number]): Uint8Array {
  const size = 256;
  const line = [0, ...Array<number[]>(size).fill(colour).flat()];
  const head = Buffer.from([0, 0, size / 256, size % 256, 0, 0, size / 256, size % 256, 8, 2, 0, 0, 0]);
  const lines = Buffer.from(Array<number[]>(size).fill(line).flat());
  return Buffer.concat([Buffer.from([0x89, 0x50, 0x4e, 0x47, 13, 10, 26, 10]), part('IHDR', head), part('IDAT', deflateSync(lines)),
    part('IEND', Buffer.alloc(0))]);
}

function part(name: string, content: Buffer): Buffer {
  const body = Buffer.concat([Buffer.from(name, 'ascii'), content]);
  const [length, sum] = [Buffer.alloc(4), Buffer.alloc(4)];
  length.writeUInt32BE(content.length);
  sum.writeUInt32BE(crc32(body));
  return Buffer.concat([length, body, sum]);
}
