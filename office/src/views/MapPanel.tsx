// A file as a map, with the legend of the chosen value.
import {useSignal} from '@preact/signals';
import {useEffect, useRef} from 'preact/hooks';
import {MapCanvas} from '../map/canvas';
import {colourOf} from '../map/channels';
import {draw, valueAt} from '../map/draw';
import type {Point} from '../map/geometry';
import type {Channel, Layer, Reading} from '../map/model';
import {amountUnit} from '../map/units';
import {numberText, t} from '../texts';
import {mapTexts} from './mapTexts';

interface Choice {
  layer: Layer;
  channel: Channel;
}

/** The units that the user may name for a value without a unit. */
const units = ['', 'kg/ha', 'l/ha', '1/ha', 't/ha'];

/** The layers without values that the list shows. */
const mostListed = 100;

export function MapPanel({reading}: {reading: Reading}) {
  const chosen = useSignal(0);
  const unit = useSignal('');
  const choices = reading.layers.flatMap((layer) => layer.channels.map((channel): Choice => ({layer, channel})));
  const choice = choices[chosen.value] ?? choices[0];
  return (
    <div class="map-panel">
      <Canvas layers={reading.layers} choice={choice} unit={choice?.channel.unit || unit.value} />
      <div class="legend-box">
        {choices.length > 1 && (
          <label class="field">
            {t('map.value')}
            <select value={chosen.value} onChange={(event) => {
              chosen.value = Number(event.currentTarget.value);
            }}>
              {choices.map((each, index) => <option key={index} value={index} dir="auto">{nameOf(each, choices)}</option>)}
            </select>
          </label>
        )}
        {choice && !choice.channel.unit && choice.layer.kind !== 'track' && (
          <label class="field">
            {t('map.unit')}
            <select value={unit.value} onChange={(event) => {
              unit.value = event.currentTarget.value;
            }}>
              {units.map((each) => <option key={each} value={each}>{each || t('map.unit.unknown')}</option>)}
            </select>
          </label>
        )}
        {choice && <Legend choice={choice} unit={choice.channel.unit || unit.value} />}
        <OtherLayers layers={reading.layers} />
      </div>
    </div>
  );
}

function nameOf({layer, channel}: Choice, all: readonly Choice[]): string {
  const isOnly = all.every((each) => each.layer === layer);
  const name = channel.name || t('map.rate');
  return isOnly || !layer.name ? name : `${layer.name} · ${name}`;
}

function Legend({choice: {layer, channel}, unit}: {choice: Choice; unit: string}) {
  const {classes, areaM2, sumHa} = channel;
  const most = Math.max(...classes.map(({weight}) => weight), 1e-9);
  const amount = amountUnit(unit);
  return (
    <section class="legend" aria-label={t('map.legend')}>
      <h3><bdi>{channel.name || layer.name || t('map.rate')}</bdi> {unit && <span class="unit">{unit}</span>}</h3>
      <table>
        <thead class="unseen">
          <tr><th>{t('map.rate')}</th><th>{t(areaM2 === undefined ? 'map.points' : 'map.area')}</th></tr>
        </thead>
        <tbody>
          {classes.map(({from, to, weight}, index) => weight > 0 && (
            <tr key={index}>
              <td>
                <span class="swatch" style={{background: colourOf(index, classes.length)}} />
                {from === to ? numberText(from) : `${numberText(from)} – ${numberText(to)}`}
              </td>
              <td>
                <span class="bar-of" style={{width: `${(35 * weight) / most}%`}} />
                {areaM2 === undefined ? numberText(weight) : areaText(weight)}
              </td>
            </tr>
          ))}
        </tbody>
      </table>
      {areaM2 !== undefined && <p>{t('map.areaWithRate', {area: areaText(areaM2)})}</p>}
      {sumHa !== undefined && amount !== undefined &&
        <p class="total">{t('map.total', {amount: `${numberText(sumHa)} ${amount}`.trim()})}</p>}
    </section>
  );
}

const areaText = (squareMetres: number): string => `${numberText(squareMetres / 10_000)} ha`;

function OtherLayers({layers}: {layers: readonly Layer[]}) {
  const others = layers.filter(({channels}) => channels.length === 0);
  if (others.length === 0) return null;
  return (
    <ul class="layers">
      {others.slice(0, mostListed).map(({kind, name}, index) => <li key={index} class={kind}>{t(`map.kind.${kind}`)} <bdi>{name}</bdi></li>)}
      {others.length > mostListed && <li>{t('map.moreNames', {count: others.length - mostListed})}</li>}
    </ul>
  );
}

interface CanvasProps {
  layers: readonly Layer[];
  choice: Choice | undefined;
  unit: string;
}

function Canvas({layers, choice, unit}: CanvasProps) {
  const box = useRef<HTMLDivElement>(null);
  const canvas = useRef<MapCanvas | undefined>(undefined);
  const below = useSignal('');
  const tell = useRef<(at: Point) => string>(() => '');
  tell.current = (at) => {
    const value = choice ? valueAt(choice.layer, choice.channel, at) : NaN;
    return Number.isNaN(value) ? placeText(at) : `${placeText(at)} · ${numberText(value)} ${unit}`;
  };
  useEffect(() => {
    const made = new MapCanvas(box.current as HTMLDivElement, mapTexts());
    canvas.current = made;
    made.map.on('pointermove', ({coordinate}) => {
      below.value = made.hasPlace ? tell.current(made.toDegrees(coordinate)) : '';
    });
    return () => made.dispose();
  }, []);
  useEffect(() => {
    const first = choice?.layer ?? layers[0];
    if (!canvas.current || !first) return;
    below.value = '';
    canvas.current.fit(first.extent);
    draw(canvas.current, layers, choice?.layer, choice?.channel);
  }, [layers, choice?.layer, choice?.channel]);
  return (
    <div class="map-box">
      <div class="map" ref={box} tabIndex={0} role="application" aria-label={t('map.map')} />
      <output class="readout">{below}</output>
    </div>
  );
}

const placeText = ([longitude, latitude]: Point): string =>
  `${latitude.toFixed(6)}°, ${longitude.toFixed(6)}°`;
