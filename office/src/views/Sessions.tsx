// The sessions of a person.
import type {ComponentChildren} from 'preact';
import type {OwnSession} from '../api/client';
import {dateText, t} from '../texts';

interface Props {
  sessions: readonly OwnSession[];
  /** More in the line of a session. */
  action?: (session: OwnSession) => ComponentChildren;
}

export function Sessions({sessions, action}: Props) {
  if (sessions.length === 0) return <p>{t('sessions.none')}</p>;
  return (
    <ul class="sessions">
      {sessions.map((session) => (
        <li key={session.id}>
          <span>
            <b><bdi>{session.console || t('sessions.browser')}</bdi></b> {session.address}{session.current && ` · ${t('sessions.current')}`}
            <span class="detail">
              {t('sessions.times', {from: dateText(session.created_at), seen: dateText(session.last_seen_at)})}
            </span>
          </span>
          {action?.(session)}
        </li>
      ))}
    </ul>
  );
}
