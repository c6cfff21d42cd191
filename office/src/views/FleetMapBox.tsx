// The map of the fleet.
import {useEffect, useRef} from 'preact/hooks';
import {FleetMap, type Marker} from '../map/fleet';
import type {Point} from '../map/geometry';
import {t} from '../texts';
import {mapTexts} from './mapTexts';

export interface Props {
  markers: readonly Marker[];
  track: readonly Point[];
  replay: Point | undefined;
  onChoose: (id: number) => void;
}

export function FleetMapBox({markers, track, replay, onChoose}: Props) {
  const box = useRef<HTMLDivElement>(null);
  const map = useRef<FleetMap | undefined>(undefined);
  const choose = useRef(onChoose);
  choose.current = onChoose;
  useEffect(() => {
    const made = new FleetMap(box.current as HTMLDivElement, mapTexts(), (id) => choose.current(id));
    map.current = made;
    return () => made.dispose();
  }, []);
  useEffect(() => map.current?.showMarkers(markers), [markers]);
  useEffect(() => map.current?.showTrack(track), [track]);
  useEffect(() => map.current?.showReplay(replay), [replay, track]);
  const chosen = markers.find(({isChosen}) => isChosen);
  useEffect(() => {
    if (chosen) map.current?.goTo(chosen.place);
  }, [chosen?.id]);
  return (
    <div class="map-box">
      <div class="map" ref={box} tabIndex={0} role="application" aria-label={t('map.map')} />
    </div>
  );
}
