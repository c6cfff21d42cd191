// Files as maps: task data and shapefiles, good and hostile.
import {strToU8} from 'fflate';
import {describe, expect, it, vi} from 'vitest';
import {classify, colourOf} from '../../src/map/channels';
import {valueAt} from '../../src/map/draw';
import {largestFile, type Channel, type Layer, type Reading} from '../../src/map/model';
import {paint, pixelsOf} from '../../src/map/paint';
import {read} from '../../src/map/read';
import {amountUnit} from '../../src/map/units';
import {archive, field, grid, logBytes, logSet, prescription, severalValues, shapefile, task, taskData, withClaimedSize, zones,
  type Bytes, type LogPoint} from './archives';

const only = (files: Record<string, Uint8Array>): Promise<Reading> => read('a.zip', archive(files));
const first = ({layers}: Reading): Layer => layers[0] as Layer;
/** The refusals of the parts of an archive. */
const refused = async (files: Record<string, Uint8Array>) => (await only(files)).notes.map((note) =>
  (note.kind === 'refused' ? `${note.name} ${note.refusal}` : note.kind));
const refusal = (bytes: Bytes, name = 'a.zip'): Promise<string> =>
  read(name, bytes).then(() => 'none', (error: Error) => error.message);

describe('a grid', () => {
  it('has the values of each product', async () => {
    const {channels} = first(await read('a.zip', severalValues()));
    expect(channels.map(({unit, values}) => [unit, ...values])).toEqual([['kg/ha', 3, 5], ['l/ha', -0.0005, 0.0007000000000000001]]);
  });

  it('has its area and its total amount', async () => {
    const {areaM2 = 0, sumHa = 0} = first(await read('a.zip', prescription())).channels[0] as Channel;
    const cellM2 = 0.0001 * 111_195 * 0.0002 * 111_195 * Math.cos((51.5001 * Math.PI) / 180);
    expect(areaM2 / (4 * cellM2)).toBeCloseTo(1, 4);
    expect(sumHa / ((100 + 200 + 300 + 300) * cellM2 / 10_000)).toBeCloseTo(1, 4);
    expect(amountUnit('kg/ha')).toBe('kg');
  });

  it('is painted with the northern row first, and zero in its own colour', async () => {
    const layer = first(await read('a.zip', prescription()));
    const pixels = pixelsOf(layer.grid!, layer.channels[0]!.values);
    const colours = [...Array(6).keys()].map((cell) =>
      `#${[...pixels.slice(4 * cell, 4 * cell + 3)].map((each) => each.toString(16).padStart(2, '0')).join('')}`);
    const [zero, low, middle, high] = [0, 1, 2, 3].map((index) => colourOf(index, 4));
    expect(colours).toEqual([middle, high, high, zero, zero, low]);
  });

  it('tells the value at a place', async () => {
    const layer = first(await read('a.zip', prescription()));
    const at = (longitude: number, latitude: number) => valueAt(layer, layer.channels[0]!, [longitude, latitude]);
    expect([at(5.2505, 51.50005), at(5.2501, 51.50015)]).toEqual([100, 200]);
    expect(at(5.2499, 51.50005)).toBeNaN();
    expect(at(5.2505, 51.5002)).toBeNaN();
  });

  it('of zones with another order of values has the value of each product', async () => {
    const content = task(`<TZN A="0"/><TZN A="1"><PDV A="0006" B="100" C="PDT1"/><PDV A="0001" B="200000"/></TZN>
      <TZN A="2"><PDV A="0001" B="300000"/><PDV A="0006" B="5000" C="PDT1"/><PDV A="0006" B="700" C="PDT2"/></TZN>${grid(3, 1, 1)}`);
    const {channels} = first(await only({'TASKDATA.XML': taskData(content), 'GRD00001.BIN': new Uint8Array([0, 1, 2])}));
    expect(channels.map(({unit, values}) => [unit, ...values])).toEqual([
      ['kg/ha', NaN, 1, 50], ['l/ha', NaN, 20, 30], ['kg/ha', NaN, NaN, 7]]);
  });

  it('without its file is told', async () => {
    expect((await only({'TASKDATA.XML': taskData(task(zones + grid(2, 3, 1)))})).notes).toEqual([{kind: 'noGridFile', name: 'North field'}]);
  });

  it('far from its field is told', async () => {
    const near = {'TASKDATA.XML': taskData(task(zones + grid(1, 1, 1)) + field(51.495, 5.245)), 'GRD00001.BIN': new Uint8Array([7])};
    expect((await only(near)).notes).toEqual([]);
    const far = {...near, 'TASKDATA.XML': taskData(task(zones + grid(1, 1, 1)) + field(55.5, 37.6))};
    expect((await only(far)).notes).toMatchObject([{kind: 'far', name: 'North field'}]);
  });

  it('far from its own field is told, also if it is on another field', async () => {
    const fields = field(51.495, 5.245) + field(55.5, 37.6).replace('PFD1', 'PFD2');
    const set = (own: string) => only({'GRD00001.BIN': new Uint8Array([7]),
      'TASKDATA.XML': taskData(task(zones + grid(1, 1, 1)).replace('G="1"', `G="1" E="${own}"`) + fields)});
    expect((await set('PFD1')).notes).toEqual([]);
    expect((await set('PFD2')).notes).toMatchObject([{kind: 'far', name: 'North field'}]);
  });

  it('of each set of an archive is drawn', async () => {
    const set = (folder: string, code: number) => ({
      [`${folder}TASKDATA.XML`]: taskData(task(zones + grid(1, 1, 1))), [`${folder}GRD00001.BIN`]: new Uint8Array([code])});
    const {layers} = await only({...set('a/', 7), ...set('b/TASKDATA/', 0)});
    expect(layers.map(({channels}) => [...channels[0]!.values])).toEqual([[150], [0]]);
  });
});

describe('task data', () => {
  it('have zones with their rates and holes', async () => {
    const square = (size: number, type: number) => `<LSG A="${type}">${[[0, 0], [0, size], [size, size], [size, 0]]
      .map(([x = 0, y = 0]) => `<PNT A="2" C="${51 + y}" D="${5 + x}"/>`).join('')}</LSG>`;
    const reading = await only({'TASKDATA.XML': taskData(task(
      `<TZN A="1"><PLN A="2">${square(0.002, 1)}${square(0.001, 2)}</PLN><PDV A="0006" B="20000"/></TZN>`))});
    const {kind, channels: [channel]} = first(reading);
    const hectares = (111.195 * 2) ** 2 * Math.cos((51.001 * Math.PI) / 180) / 10_000;
    expect(kind).toBe('zones');
    expect(channel?.areaM2! / 10_000 / (hectares * 0.75)).toBeCloseTo(1, 3);
    expect(channel?.sumHa! / channel?.areaM2! * 10_000).toBeCloseTo(200, 9);
    expect(channel?.shapes[1]?.partEnds).toEqual([[8, 16]]);
  });

  it('have the value of each product in zones with another order of values', async () => {
    const square = (north: number) => `<PLN A="2"><LSG A="1">${[[0, 0], [0, 1], [1, 1], [1, 0]]
      .map(([y = 0, x = 0]) => `<PNT A="2" C="${north + y * 0.001}" D="${5 + x * 0.001}"/>`).join('')}</LSG></PLN>`;
    const {channels} = first(await only({'TASKDATA.XML': taskData(task(
      `<TZN A="1">${square(51)}${square(52)}<PDV A="0006" B="100"/><PDV A="0001" B="200000"/></TZN>
       <TZN A="2">${square(53)}<PDV A="0001" B="300000"/><PDV A="0006" B="5000"/></TZN>`))}));
    expect(channels.map(({unit, values}) => [unit, ...values])).toEqual([['kg/ha', 1, 1, 50], ['l/ha', 20, 20, 30]]);
  });

  it('have guidance lines of all kinds', async () => {
    const point = (north: number, east: number) => `<PNT A="9" C="${north}" D="${east}"/>`;
    const pattern = (type: number, more: string, points: string) =>
      `<GPN A="GPN${type}" B="line ${type}" C="${type}" ${more}><LSG A="5">${points}</LSG></GPN>`;
    const reading = await only({'TASKDATA.XML': taskData(`<PFD A="PFD1" C="Home" D="1"><GGP A="GGP1">${
      pattern(1, '', point(51, 5) + point(51.01, 5))}${pattern(2, 'G="90"', point(51, 5))}${
      pattern(4, 'H="100000"', point(51, 5))}</GGP></PFD>`)});
    expect(reading.layers.map(({kind, name}) => `${kind} ${name}`)).toEqual(['guidance line 1', 'guidance line 2', 'guidance line 4']);
    const [, heading, pivot] = reading.layers as [Layer, Layer, Layer];
    expect(heading.extent[3] - heading.extent[1]).toBeCloseTo(0, 6);
    expect((pivot.extent[3] - pivot.extent[1]) * 111_195).toBeCloseTo(200, 3);
  });

  it('have time logs as tracks with scaled values', async () => {
    const records: LogPoint[] = [[51, 5, 1000], [51.0001, 5, undefined], [51.0002, 5, 2000], [0, 0, 1]];
    const bytes = logBytes(records);
    const reading = await only(logSet(bytes));
    const {kind, channels: [channel], extent} = first(reading);
    expect([kind, channel?.unit, [...channel?.values ?? []]]).toEqual(['track', 'kg/ha', [10, 10, 20]]);
    expect(extent[3]).toBeCloseTo(51.0002, 9);
    expect(reading.notes).toEqual([]);
    expect((await only(logSet(bytes.slice(0, 40)))).notes).toEqual([{kind: 'logDamaged', name: 'TLG00001'}]);
  });

  it('have a long time log with the values of the records that are not drawn', async () => {
    const changes = new Map([[0, 0], [1, 10_000], [20_001, 5000]]);
    const records = [...Array(30_002).keys()].map((index): LogPoint => [51 + index * 1e-6, 5, changes.get(index)]);
    const {layers: [track], notes} = await only(logSet(logBytes(records)));
    const values = track!.channels[0]!.values;
    expect(notes).toEqual([{kind: 'thinned', name: 'TLG00001'}]);
    expect([0, 1, 10_000, 10_001].map((index) => values[index])).toEqual([0, 100, 100, 50]);
  });

  it('have time logs with the values of records without a place', async () => {
    const records: LogPoint[] = [[51, 5, 1000], [0, 0, 2000], [51.0001, 5, undefined]];
    expect([...first(await only(logSet(logBytes(records)))).channels[0]!.values]).toEqual([10, 20]);
  });

  it('alone are read too', async () => {
    expect(first(await read('TASKDATA.XML', taskData(field(51, 5)))).kind).toBe('boundary');
  });
});

describe('a shapefile', () => {
  const mercator = 'PROJCS["m",GEOGCS["w",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137,298.257223563]],PRIMEM["Greenwich",0],UNIT["Degree",0.0174532925199433]],'
    + 'PROJECTION["Transverse_Mercator"],PARAMETER["False_Easting",500000],PARAMETER["False_Northing",0],PARAMETER["Central_Meridian",9],'
    + 'PARAMETER["Scale_Factor",0.9996],PARAMETER["Latitude_Of_Origin",0],UNIT["Meter",1]]';

  it('has the rates of its table in its projection', async () => {
    const {layers: [layer], notes} = await read('a.zip', shapefile([[500_000, 5_700_000, 500_100, 5_700_200]], [120.5], mercator));
    expect(notes).toEqual([]);
    expect(layer?.extent[0]).toBeCloseTo(9, 7);
    expect(layer?.extent[1]).toBeCloseTo(51.451, 2);
    const [channel] = layer?.channels as [Channel];
    expect([channel.name, channel.unit, ...channel.values]).toEqual(['RATE', '', 120.5]);
    expect(channel.areaM2! / 20_000).toBeCloseTo(1, 2);
  });

  it('without a projection is refused if its numbers are not degrees', async () => {
    expect((await read('a.zip', shapefile([[500_000, 5_700_000, 500_100, 5_700_200]], [1]))).notes).toEqual(
      [{kind: 'refused', name: 'map.shp', refusal: 'noProjection'}]);
    expect((await read('a.zip', shapefile([[5, 51, 5.001, 51.001]], [1]))).notes).toEqual([{kind: 'assumedDegrees', name: 'map'}]);
  });

  it('with a projection that the page does not know is refused', async () => {
    const robinson = mercator.replace('Transverse_Mercator', 'Robinson');
    expect((await read('a.zip', shapefile([[500_000, 5_700_000, 500_100, 5_700_200]], [1], robinson))).notes).toEqual(
      [{kind: 'refused', name: 'map.shp', refusal: 'unknownProjection'}]);
  });

  it('with a projection that cannot be read is refused, also if its numbers can be degrees', async () => {
    expect((await read('a.zip', shapefile([[5, 51, 5.001, 51.001]], [1], 'nonsense'))).notes).toEqual(
      [{kind: 'refused', name: 'map.shp', refusal: 'unknownProjection'}]);
  });

  it.each([
    [['ID', 'AREA_HA', 'RATE'], 'RATE'], [['OBJECTID', 'Zone', 'N'], 'N'], [['FID', 'Zone'], 'Zone'], [['id', 'Shape_Area'], 'id'],
    [['Flaeche', 'Dosis_kg'], 'Dosis_kg'], [['ha', 'kg_ha'], 'kg_ha'],
  ])('with the columns %j opens with %s', async (columns, shown) => {
    const {layers: [layer]} = await read('a.zip', shapefile([[5, 51, 5.001, 51.001]], [1], undefined, columns));
    expect(layer?.channels.map(({name}) => name)[0]).toBe(shown);
    expect(layer?.channels.length).toBe(columns.length);
  });

  it('in Lambert\'s conformal conic projection is drawn in its place', async () => {
    const lambert = 'PROJCS["RGF93 / Lambert-93",GEOGCS["RGF93",DATUM["Reseau_Geodesique_Francais_1993",SPHEROID["GRS 1980",6378137,298.257222101]],'
      + 'PRIMEM["Greenwich",0],UNIT["degree",0.0174532925199433]],PROJECTION["Lambert_Conformal_Conic_2SP"],PARAMETER["standard_parallel_1",49],'
      + 'PARAMETER["standard_parallel_2",44],PARAMETER["latitude_of_origin",46.5],PARAMETER["central_meridian",3],'
      + 'PARAMETER["false_easting",700000],PARAMETER["false_northing",6600000],UNIT["metre",1]]';
    const {layers: [layer]} = await read('a.zip', shapefile([[700_000, 6_600_000, 700_100, 6_600_100]], [1], lambert));
    expect(layer?.extent[0]).toBeCloseTo(3, 7);
    expect(layer?.extent[1]).toBeCloseTo(46.5, 7);
  });
});

describe('many shapes', () => {
  it('reach the page as an image of their channel, few shapes as they are', async () => {
    const context = new Proxy({}, {get: () => () => undefined, set: () => true});
    const sides: number[][] = [];
    vi.stubGlobal('OffscreenCanvas', class {
      constructor(readonly width: number, readonly height: number) {
        sides.push([width, height]);
      }

      getContext = () => context;
      transferToImageBitmap = () => 'image';
    });
    for (const [count, shapeCount] of [[10, 10], [4001, 0]] as const) {
      const squares = [...Array(count).keys()].map((index) => [5 + index * 1e-5, 51, 5 + (index + 1) * 1e-5, 51.001] as const);
      const layer = first(await read('a.zip', shapefile(squares, squares.map(() => 100))));
      await paint([layer]);
      const [{image, shapes}] = layer.channels as [Channel];
      expect([image, shapes.reduce((sum, {partEnds}) => sum + partEnds.length, 0)]).toEqual([shapeCount ? undefined : 'image', shapeCount]);
    }
    expect(sides.length).toBe(1);
    expect(Math.max(...sides[0]!)).toBe(4096);
  });
});

describe('the classes', () => {
  it('are the values themselves if there are at most seven', () => {
    const {classes, classOf} = classify(Float64Array.of(0, 5, NaN, 3, 5), () => 1);
    expect(classes.map(({from, to, weight}) => [from, to, weight])).toEqual([[0, 0, 1], [3, 3, 1], [5, 5, 2]]);
    expect([...classOf]).toEqual([0, 2, 255, 1, 2]);
  });

  it('are seven ranges otherwise', () => {
    const {classes} = classify(Float64Array.from({length: 70}, (_, index) => index + 1), () => 1);
    expect(classes.map(({weight}) => weight)).toEqual([0, 10, 10, 10, 10, 10, 10, 10]);
  });
});

describe('a hostile file', () => {
  it('that is too large is not read', async () => {
    expect(await refusal(new Uint8Array(largestFile + 1))).toBe('tooLarge');
  });

  it('that is no archive is refused', async () => {
    expect(await refusal(strToU8('hello') as Bytes)).toBe('notArchive');
    expect(await refusal(archive({'TASKDATA.XML': taskData('')}).slice(0, 60))).toBe('damaged');
  });

  it('that unpacks to more than the limit is refused before it is unpacked', async () => {
    const bytes = archive({'TASKDATA.XML': taskData(''), 'GRD00001.BIN': new Uint8Array(1000)});
    expect(await refusal(withClaimedSize(bytes, 1000, 300_000_000))).toBe('unpacksTooLarge');
  });

  it('that lies about its unpacked size gets no more memory than it said', async () => {
    const bytes = archive({'TASKDATA.XML': taskData(task(zones + grid(1, 1, 1))), 'GRD00001.BIN': new Uint8Array(1_000_000)});
    const reading = await read('a.zip', withClaimedSize(bytes, 1_000_000, 1)).catch((error: Error) => error.message);
    if (typeof reading === 'object') expect(first(reading).channels[0]?.values.length).toBe(1);
    else expect(reading).toBe('damaged');
  });

  it('with a grid of 2·10⁹ × 2·10⁹ cells is told', async () => {
    const reading = await only({'TASKDATA.XML': taskData(task(zones + grid(2e9, 2e9, 1))), 'GRD00001.BIN': new Uint8Array(10)});
    expect(reading).toMatchObject({layers: [], notes: [{kind: 'gridValues', name: 'North field'}]});
    const tiny = grid(2e9, 2e9, 1).replace('0.0001', '1e-12').replace('0.0002', '1e-12');
    const inside = await only({'TASKDATA.XML': taskData(task(zones + tiny)), 'GRD00001.BIN': new Uint8Array(10)});
    expect(inside.notes).toEqual([{kind: 'gridShort', name: 'North field'}]);
  });

  it('with more cells than the page draws is told', async () => {
    const reading = await only({'TASKDATA.XML': taskData(task(zones + grid(3000, 3000, 1))), 'GRD00001.BIN': new Uint8Array(9e6)});
    expect(reading.notes).toEqual([{kind: 'gridTooLarge', name: 'North field'}]);
  });

  it('with entities is not read', async () => {
    const levels = [...Array(9).keys()].map((level) => `<!ENTITY e${level + 1} "${`&e${level};`.repeat(10)}">`).join('');
    const bomb = `<?xml version="1.0"?><!DOCTYPE x [<!ENTITY e0 "ha">${levels}]><ISO11783_TaskData><TSK A="TSK1" B="&e9;" G="1"/></ISO11783_TaskData>`;
    expect(await refused({'TASKDATA.XML': strToU8(bomb)})).toEqual(['TASKDATA.XML entities']);
    expect(await refused({'TASKDATA.XML': taskData(''), 'TLG00001.XML': strToU8(bomb)})).toEqual(['TASKDATA.XML entities']);
  });

  it('with a damaged document is told', async () => {
    expect(await refused({'TASKDATA.XML': strToU8('<nothing')})).toEqual(['TASKDATA.XML damaged']);
    expect(await refused({'a.shp': strToU8('no shapes')})).toEqual(['a.shp damaged']);
  });

  it('with a damaged part has a note of the part, and the other parts are drawn', async () => {
    const good = {'a/TASKDATA.XML': taskData(task(zones + grid(1, 1, 1))), 'a/GRD00001.BIN': new Uint8Array([7])};
    const reading = await only({...good, 'bad.shp': new Uint8Array(3), 'b/TASKDATA.XML': strToU8('<nothing')});
    expect(reading.layers.map(({kind}) => kind)).toEqual(['grid']);
    expect(reading.hasTaskData).toBe(true);
    expect(reading.notes.map(({name}) => name)).toEqual(['b/TASKDATA.XML', 'bad.shp']);
    expect((await only({'b/TASKDATA.XML': strToU8('<nothing')})).hasTaskData).toBe(false);
  });

  it('with a damaged header of a time log has its grid drawn', async () => {
    for (const header of ['<nothing', '<TIM A="" D=', '']) {
      const {layers, notes} = await only({...logSet([]), 'TLG00001.XML': strToU8(header), 'GRD00001.BIN': new Uint8Array([7]),
        'TASKDATA.XML': taskData(task(`${zones}<TLG A="TLG00001"/>${grid(1, 1, 1)}`))});
      expect(layers.map(({kind}) => kind)).toEqual(['grid']);
      expect(notes).toEqual([{kind: 'logDamaged', name: 'TLG00001'}]);
    }
  });

  it('with more lines than the page draws is cut, and all lines are in one layer', async () => {
    const line = (index: number) => `<GPN A="GPN${index}" B="l${index}" C="1"><LSG A="5"><PNT A="9" C="51" D="5"/><PNT A="9" C="51.01" D="5"/></LSG></GPN>`;
    const {layers, notes} = await only({'TASKDATA.XML': taskData(`${field(51, 5)}<PFD A="PFD2" C="Home" D="1"><GGP A="GGP1">${
      [...Array(2800).keys()].map(line).join('')}</GGP></PFD>`)});
    expect(notes).toEqual([{kind: 'leftOut', name: '', count: 2801 - layers.length}]);
    expect(layers.length).toBeLessThan(2801);
    const [boundary, lines] = layers.filter(({shapes}) => shapes);
    expect([boundary?.kind, boundary?.shapes?.partEnds]).toEqual(['boundary', [[10]]]);
    expect([lines?.kind, lines?.shapes?.partEnds.length]).toEqual(['guidance', layers.length - 1]);
    expect(lines?.shapes?.flat.length).toBe(4 * (layers.length - 1));
    expect(lines?.shapes?.partEnds.slice(0, 2)).toEqual([[4], [8]]);
  });

  it('with more values or notes than the page shows is cut', async () => {
    const tasks = (count: number) => [...Array(count).keys()].map((index) =>
      task(zones + grid(1, 1, 1)).replace('TSK1', `TSK${index}`)).join('');
    const {layers, notes} = await only({'TASKDATA.XML': taskData(tasks(1010)), 'GRD00001.BIN': new Uint8Array([7])});
    expect([layers.length, notes]).toEqual([1000, [{kind: 'leftOut', name: '', count: 10}]]);
    const {notes: some} = await only({'TASKDATA.XML': taskData(tasks(110))});
    expect([some.length, some.at(-1)]).toEqual([101, {kind: 'more', name: '', count: 10}]);
  });

  it('keeps its names as they are', async () => {
    const name = '<img src=x onerror=alert(1)>';
    const reading = await only({'TASKDATA.XML': taskData(field(51, 5).replace('Home', '&lt;img src=x onerror=alert(1)&gt;'))});
    expect(first(reading).name).toBe(name);
  });
});
