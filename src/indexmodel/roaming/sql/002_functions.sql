set local role roaming_owner;
set local search_path = roaming, pg_temp;

-- A function that only others here call has the search path of whoever calls it: to set it again would
-- be done at each save.
-- SQLSTATEs of this schema: RM001 the quota is used up, RM002 there is none such, RM003 bytes are not
-- those of their hash, RM004 contents are wanted.

-- Whose documents are asked for; the session's user is never a variable that a desktop sets.
create function login_of(p_login text) returns text
language plpgsql stable as $$
begin
    if p_login <> session_user and not pg_has_role(session_user, 'roaming_desk', 'member') then
        raise insufficient_privilege
            using message = format('%s is not of the desk: what %s has is closed', session_user, p_login);
    end if;
    return coalesce(p_login, session_user);
end $$;

create function no_person(p_login text) returns void
language plpgsql as $$
begin
    raise exception using errcode = 'RM002', message = format('nothing was ever saved by %s', p_login);
end $$;

create function person_of(p_login text) returns bigint
language plpgsql stable set search_path = roaming, pg_temp as $$
declare
    v_login text := login_of(p_login);
    v_person bigint := (select person_id from person where login = v_login);
begin
    if v_person is null and v_login <> session_user then
        perform no_person(v_login);
    end if;
    return v_person;
end $$;

-- One change of a person at a time: numbers follow each other, and no content is thinned out that a
-- save counts on. A save that was already done locks, too: its commit then waits for the standby,
-- so that what the first answer left unsure is sure with the second.
create function locked_person(p_login text) returns person
language plpgsql as $$
declare
    v_login text := login_of(p_login);
    v_person person;
begin
    select * into v_person from person where login = v_login for update;
    if not found and v_login = session_user then
        insert into person (login) values (v_login) on conflict do nothing;
        select * into v_person from person where login = v_login for update;
    end if;
    if v_person.person_id is null then
        perform no_person(v_login);
    end if;
    return v_person;
end $$;

-- A change of what is another's is written down.
create function note(p_person person, p_action text, p_document text, p_from bigint, p_to bigint,
    p_reason text) returns void
language plpgsql as $$
begin
    if p_person.login <> session_user then
        insert into audit (action, person_id, document, from_revision, to_revision, reason)
        values (p_action, p_person.person_id, p_document, p_from, p_to, p_reason);
    end if;
end $$;

-- Keeps contents under their hashes.
create function keep_contents(p_person person, p_hashes bytea[], p_contents bytea[]) returns void
language plpgsql as $$
declare
    v_bytes bigint;
begin
    with come as (
        insert into part (person_id, sha256, content)
        select p_person.person_id, u.h, u.c from unnest(p_hashes, p_contents) u (h, c)
        on conflict do nothing
        returning octet_length(content) as bytes
    )
    select coalesce(sum(bytes), 0) into v_bytes from come;
    if v_bytes > 0 and p_person.bytes_kept + v_bytes > p_person.quota then
        raise exception using errcode = 'RM001', message = format(
            '%s may keep %s bytes, has %s and comes with %s more', p_person.login, p_person.quota,
            p_person.bytes_kept, v_bytes);
    end if;
    update person set bytes_kept = bytes_kept + v_bytes
        where person_id = p_person.person_id and v_bytes > 0;
end $$;

-- The hour is enough to tell which machines are in use, and costs a row an hour.
create function note_machine(p_person bigint, p_machine_id uuid, p_machine text) returns void
language sql as $$
    insert into machine (person_id, machine_id, name) values (p_person, p_machine_id, p_machine)
    on conflict (person_id, machine_id) do update
    set name = excluded.name, last_seen = excluded.last_seen;
$$;

-- What no client of this library sends.
create function require_sound(p_document text, p_base bigint, p_sha256 bytea, p_parts bytea[],
    p_machine text, p_arrangement text, p_reason text) returns boolean
language plpgsql as $$
begin
    if p_sha256 is null or octet_length(p_sha256) <> 32 or p_parts is null
            or cardinality(p_parts) > 256 or array_position(p_parts, null::bytea) is not null then
        raise exception using errcode = 'RM003', message = 'a text has up to 256 parts, each with a hash';
    end if;
    if p_base < 0 or octet_length(p_document) > 1024 or octet_length(p_machine) > 256
            or octet_length(p_arrangement) > 4096 or octet_length(p_reason) > 1024 then
        raise check_violation using message = 'a name is too long, or a number is no base';
    end if;
    return true;
end $$;

-- No session may take back what the server promises of its standby; settings of the server hold.
create function commit_as_promised() returns void
language plpgsql as $$
begin
    if exists (select from pg_settings where name = 'synchronous_commit'
            and source in ('client', 'session', 'user', 'database user')) then
        perform set_config('synchronous_commit', 'on', true);
    end if;
end $$;

-- The first that applies: the same save again has its earlier answer; a base above the head is
-- behind; what others have saved since the base makes it an aside, unless it was the head since, or is
-- the base still; contents are wanted; it is saved.
-- Plans are made once, and by indexes whatever the tables hold when a session begins: a statement that
-- is planned at each call costs more than it does.
create function save(p_document text, p_base bigint, p_aside boolean, p_save_id uuid,
    p_sha256 bytea, p_parts bytea[], p_contents bytea[], p_machine_id uuid, p_machine text,
    p_arrangement text, p_reason text, p_base_sha256 bytea default null, p_login text default null,
    out o_outcome text, out o_number bigint, out o_head bigint, out o_wants bytea[])
language plpgsql security definer set search_path = roaming, pg_temp
set plan_cache_mode = force_generic_plan set enable_seqscan = off as $$
declare
    v_person person := locked_person(p_login);
    v_id bigint := v_person.person_id;
    -- As a value, since what is performed is a query of its own.
    v_sound boolean := require_sound(p_document, p_base, p_sha256, p_parts, p_machine,
        p_arrangement, p_reason);
    v_aside boolean;
    v_document text;
    v_last bigint;
    v_hashes bytea[] := '{}';
    v_bytes bigint;
begin
    if current_setting('synchronous_commit') in ('off', 'local') then
        perform commit_as_promised();
    end if;
    select d.head, d.last into o_head, v_last
        from document d where d.person_id = v_id and d.name = p_document;
    o_head := coalesce(o_head, 0);
    select r.number, r.aside, r.name into o_number, v_aside, v_document
        from revision r where r.person_id = v_id and r.save_id = p_save_id;
    if v_document = p_document then
        o_outcome := case when v_aside then 'aside' else 'saved' end;
        return;
    end if;
    o_number := 0;
    if p_base > o_head or p_base_sha256 <> (select r.sha256 from revision r
            where r.person_id = v_id and r.name = p_document and r.number = p_base) then
        o_outcome := 'behind';
        return;
    end if;
    v_aside := p_aside;
    if not v_aside and v_last > p_base then
        v_aside := exists (select from revision r
            where r.person_id = v_id and r.name = p_document and r.number > p_base and not r.aside
                and r.machine_id <> p_machine_id);
    end if;
    if v_aside and not p_aside then
        o_number := (select max(r.number) from revision r where r.person_id = v_id
            and r.name = p_document and not r.aside and r.sha256 = p_sha256
            and r.number >= p_base + (exists (select from revision own where own.person_id = v_id
                and own.name = p_document and own.number > p_base and not own.aside
                and own.machine_id = p_machine_id))::int);
        if o_number is not null then
            o_outcome := 'saved';
            return;
        end if;
        o_number := 0;
    end if;
    if p_contents <> '{}' then
        v_hashes := array(select sha256(c) from unnest(p_contents) c);
    end if;
    if not v_hashes <@ p_parts then
        raise exception using errcode = 'RM003', message = 'a content came that is no part of its text';
    end if;
    -- A subquery for each: of a join the plan may read all parts that a person has, the more the longer
    -- he saves. With an offset it is done once, however often its result is asked for.
    select coalesce(sum(bytes), 0), array_agg(distinct h) filter (where bytes is null)
        into v_bytes, o_wants
        from (select h, coalesce(octet_length(p_contents[array_position(v_hashes, h)]),
            (select octet_length(content) from part where person_id = v_id and sha256 = h)) as bytes
            from unnest(p_parts) h offset 0) each;
    if o_wants is not null then
        o_outcome := 'wants';
        perform set_config('roaming.wants', 'yes', true);
        return;
    end if;
    if v_hashes <> '{}' then
        perform keep_contents(v_person, v_hashes, p_contents);
    end if;
    if not exists (select from machine m where m.person_id = v_id and m.machine_id = p_machine_id
            and m.name = p_machine and m.last_seen > clock_timestamp() - interval '1 hour') then
        perform note_machine(v_id, p_machine_id, p_machine);
    end if;
    o_number := coalesce(v_last, 0) + 1;
    o_head := case when v_aside then o_head else o_number end;
    insert into document (person_id, name, last, head) values (v_id, p_document, o_number, o_head)
        on conflict (person_id, name) do update set last = excluded.last, head = excluded.head;
    insert into revision (person_id, name, number, base, aside, save_id, sha256, bytes, parts,
            arrangement, machine_id, reason)
        values (v_id, p_document, o_number, p_base, v_aside, p_save_id, p_sha256, v_bytes, p_parts,
            p_arrangement, p_machine_id, p_reason);
    -- What is the newest now is no choice any more. Another text beside it stays one, whoever stored it.
    if not v_aside then
        update revision set resolved = 'mine'
            where person_id = v_id and name = p_document and aside and resolved is null
                and sha256 = p_sha256;
    end if;
    if v_person.login <> session_user then
        perform note(v_person, 'save', p_document, p_base, o_number, p_reason);
    end if;
    o_outcome := case when v_aside then 'aside' else 'saved' end;
end $$;

-- Behind several saves in a transaction: when one of them wants contents, none is done.
create function all_or_nothing() returns void
language plpgsql as $$
begin
    if current_setting('roaming.wants', true) = 'yes' then
        raise exception using errcode = 'RM004', message = 'contents are wanted';
    end if;
end $$;

create function resolve(p_document text, p_number bigint, p_choice text, p_login text default null)
    returns void
language plpgsql security definer set search_path = roaming, pg_temp as $$
declare
    v_person person := locked_person(p_login);
    v_machine uuid;
begin
    update revision set resolved = p_choice
        where person_id = v_person.person_id and name = p_document and number = p_number and aside
        returning machine_id into v_machine;
    -- Those before it were earlier states of the same machine.
    update revision set resolved = p_choice
        where person_id = v_person.person_id and name = p_document and aside and resolved is null
            and number < p_number and machine_id = v_machine;
    if v_machine is null then
        raise exception using errcode = 'RM002',
            message = format('revision %s of %s is no aside', p_number, p_document);
    end if;
    perform note(v_person, 'resolve', p_document, p_number, null, p_choice);
end $$;

-- The limit keeps it from being joined, which would read all revisions.
create function heads(p_login text default null) returns setof told
language sql stable set search_path = roaming, pg_temp as $$
    select t.* from document d cross join lateral (
        select * from told where told.person_id = d.person_id and told.document = d.name
            and told.number = d.head limit 1) t
    where d.person_id = person_of(p_login);
$$;

create function revisions(p_document text, p_after bigint, p_limit bigint, p_login text default null)
    returns setof told
language sql stable set search_path = roaming, pg_temp as $$
    select * from told
    where person_id = person_of(p_login) and document = p_document and number > p_after
    order by number desc limit nullif(p_limit, 0);
$$;

create function revision_of(p_document text, p_number bigint, p_login text default null)
    returns setof told
language sql stable set search_path = roaming, pg_temp as $$
    select * from told
    where person_id = person_of(p_login) and document = p_document and number = p_number;
$$;

create function open_asides(p_document text, p_login text default null) returns setof told
language sql stable set search_path = roaming, pg_temp as $$
    select * from told
    where person_id = person_of(p_login) and document = p_document and aside and not resolved
    order by number desc;
$$;

create function newest_with(p_document text, p_arrangement text, p_login text default null)
    returns setof told
language sql stable set search_path = roaming, pg_temp as $$
    select * from told
    where person_id = person_of(p_login) and document = p_document and arrangement = p_arrangement
        and not aside and not thinned
    order by number desc limit 1;
$$;

-- A row a part in their order, one without a part where there is none; no row: no such revision.
create function parts_of(p_document text, p_number bigint, p_login text default null,
    out o_sha256 bytea, out o_thinned boolean, out o_part bytea, out o_content bytea)
    returns setof record
language sql stable set search_path = roaming, pg_temp as $$
    select r.sha256, r.parts is null, u.h,
        (select content from part where person_id = r.person_id and sha256 = u.h)
    from revision r left join lateral unnest(r.parts) with ordinality u (h, place) on true
    where r.person_id = person_of(p_login) and r.name = p_document and r.number = p_number
    order by u.place;
$$;

-- Which contents go: all but those of 7 days, the last of each day for 90, the last of each month,
-- heads and asides each by themselves; every head, the newest of each arrangement and asides about
-- which nobody has chosen stay.
-- A function with a setting of its own is no part of the plan of its caller, which might ask it again
-- for each revision.
create function going(p_person bigint, p_now timestamptz)
    returns table (name text, number bigint)
language sql stable set search_path = roaming, pg_temp as $$
    with ranked as (
        select r.*, p_now - written_at as age,
            number = max(number) over (partition by name, aside,
                date_trunc('day', written_at at time zone 'UTC')) as last_of_day,
            number = max(number) over (partition by name, aside,
                date_trunc('month', written_at at time zone 'UTC')) as last_of_month,
            number = max(number) over (partition by name, aside, arrangement) as newest
        from revision r where person_id = p_person
    )
    select ranked.name, ranked.number from ranked join document d using (person_id, name)
    where parts is not null and not last_of_month
        and age >= interval '168 hours'
        and not (last_of_day and age < interval '2160 hours')
        and ranked.number <> d.head and not (newest and not aside)
        and not (aside and resolved is null);
$$;

-- Of whom contents may go. Not by the table: whoever sees himself alone there would find nothing to do.
create function persons() returns setof bigint
language sql stable set search_path = roaming, pg_temp as $$
    select person_id from person order by 1;
$$;

create function thin(p_person bigint, p_dry_run boolean, p_now timestamptz default now(),
    out o_revisions bigint, out o_parts bigint, out o_bytes bigint)
language plpgsql security definer set search_path = roaming, pg_temp as $$
declare
    v_person person;
    v_parts bytea[];
begin
    select * into v_person from person where person_id = p_person for update;
    select count(*) into o_revisions from going(p_person, p_now);
    with stays as (
        select distinct unnest(r.parts) as h from revision r
        where r.person_id = p_person and r.parts is not null
            and not exists (select from going(p_person, p_now) g
                where g.name = r.name and g.number = r.number)
    )
    select coalesce(array_agg(p.sha256), '{}'), coalesce(sum(octet_length(p.content)), 0)
        into v_parts, o_bytes
        from part p where p.person_id = p_person and not exists (select from stays where h = p.sha256);
    o_parts := cardinality(v_parts);
    if p_dry_run or o_revisions + o_parts = 0 then
        return;
    end if;
    update revision r set parts = null from going(p_person, p_now) g
        where r.person_id = p_person and r.name = g.name and r.number = g.number;
    delete from part where person_id = p_person and sha256 = any (v_parts);
    update person set bytes_kept = bytes_kept - o_bytes where person_id = p_person;
    perform note(v_person, 'thin', null, null, null,
        format('%s revisions, %s parts, %s bytes', o_revisions, o_parts, o_bytes));
end $$;

create function set_quota(p_login text, p_bytes bigint) returns void
language plpgsql security definer set search_path = roaming, pg_temp as $$
declare
    v_person person;
begin
    update person set quota = p_bytes where login = p_login returning * into v_person;
    if not found then
        perform no_person(p_login);
    end if;
    perform note(v_person, 'quota', null, null, null, p_bytes::text);
end $$;

-- What is granted to nobody is the owner's.
revoke all on all functions in schema roaming from public;
grant execute on function login_of, no_person, person_of, heads, revisions, revision_of, open_asides,
    newest_with, parts_of, save, all_or_nothing, resolve to roaming_trader, roaming_desk;
