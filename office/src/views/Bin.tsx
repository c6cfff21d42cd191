// The deleted files of the farm.
import {signal, useSignalEffect} from '@preact/signals';
import {client, documentOf, type BinFile} from '../api/client';
import {files} from '../model/farm';
import {dateText, t} from '../texts';
import {restore} from './Files';
import {LongTable} from './LongTable';
import {tellError} from './Toast';

const bin = signal<readonly BinFile[] | undefined>(undefined);

export function Bin() {
  // Each file that comes or goes may change the bin.
  useSignalEffect(() => {
    void files.value;
    void read();
  });
  if (!bin.value) return <p class="empty" role="status">{t('link.connecting')}</p>;
  if (bin.value.length === 0) return <p class="empty">{t('bin.none')}</p>;
  const heads = [t('files.name'), t('bin.by'), t('bin.deleted'), t('bin.until'), t('action')];
  return (
    <LongTable heads={heads} rows={bin.value} keyOf={({id}) => id} cells={(file) => [
      file.name, file.deleted_by, dateText(file.deleted_at), dateText(file.expires_at),
      <button aria-label={`${t('bin.restore')} ${file.name}`} onClick={() => void restore(file.id)}>
        {t('bin.restore')}
      </button>,
    ]} />
  );
}

async function read(): Promise<void> {
  try {
    bin.value = (await documentOf(client.GET('/bin'))).files;
  } catch (error) {
    tellError(error);
  }
}
