# Checks the models of the locks with spin; sourced by scripts/test, behind tally.sh. A model stands
# beside the code that it is of and says what its options mean. All of them take about a minute.

# search DIRECTORY MODEL [OPTION...]: every state that the model can be in. DIRECTORY/found tells.
search() {
    local directory=$1 model=$2
    shift 2
    mkdir -p "$directory"
    cp "$model" "$directory/model.pml"
    cd "$directory" || return 1
    rm -f ./*.trail
    # The final state is the model's own claim, hence -E. Compiling takes longer than the search.
    spin -a "$@" model.pml && gcc -w -O0 -DSAFETY ${KX_PAN_OPTIONS:-} -o pan pan.c &&
        ./pan -E -m1000000 >found
}

# show_trail DIRECTORY MODEL [OPTION...]: the shortest way to what a search found, a line a step, and
# the state at its end.
show_trail() {
    (KX_PAN_OPTIONS=-DBFS search "$@")
    local directory=$1
    shift 2
    echo "--- the way there (process, line of the model, step)"
    (cd "$directory" && spin -k model.pml.trail -p "$@" model.pml) 2>&1 |
        grep -vE '\[(IF|DO|\.\(goto\)|else|break|\(1\))\]' |
        sed -E 's/^ *[0-9]+:\t//; s/ +\(state [0-9]+\)//; s/model\.pml:/line /'
}

# complete DIRECTORY: whether a search left nothing out.
complete() {
    ! grep -qE 'max search depth too small|out of memory|Search not completed' "$1/found"
}

# model_holds DIRECTORY MODEL [OPTION...]
model_holds() {
    (search "$@") || return 1
    if grep -q 'errors: 0' "$1/found" && complete "$1"; then return 0; fi
    cat "$1/found"
    show_trail "$@"
    return 1
}

# model_breaks DIRECTORY CLAIM MODEL [OPTION...]: in this claim, a part of its text.
model_breaks() {
    local directory=$1 claim=$2
    shift 2
    (search "$directory" "$@") || return 1
    grep 'assertion violated' "$directory/found" | grep -qF -- "$claim" && return 0
    echo "what breaks the claim \"$claim\" is not found:"
    cat "$directory/found"
    return 1
}

# holds NAME [OPTION...] and breaks NAME CLAIM [OPTION...], of the model of the time.
holds() {
    local name=$1
    shift
    run_check "$subject: $name" model_holds "$models/$subject-$name" "$model" "$@"
}
breaks() {
    local name=$1 claim=$2
    shift 2
    run_check "$subject: finds $name" model_breaks "$models/$subject-$name" "$claim" "$model" "$@"
}

# --- The models -----------------------------------------------------------------------------------

check_critical_section() {
    local subject=section model=$root/src/platform/posix/critical_section.pml
    holds two-threads -DTHREADS=2 -DDEPTH=3 -DSPINS=2 -DSPURIOUS=2
    holds three-threads

    breaks sleeps-unseen 'done==3' -DSLEEPS_UNSEEN
    breaks no-wake 'done==3' -DNO_WAKE
    breaks wakes-as-held 'done==3' -DWAKES_AS_HELD
    breaks torn-try 'inside==1' -DTORN_TRY
    breaks owner-late 'done==3' -DOWNER_LATE
    breaks looks-back '!(destroyed)' -DLOOKS_BACK
}

check_event() {
    local subject=event model=$root/src/platform/posix/event.pml
    local line='(m_count== -(1))==(m_length>0)' sum='given==(' stuck='(gone+waiting)=='
    holds in-turn -DWAITERS=3 -DSIGNALS=2
    holds with-limits -DTIMED=1 -DROUNDS=2 -DSIGNALS=2
    holds two-givers -DGIVERS=2 -DTIMED=1
    holds reset-at-once -DGIVERS=2 -DTIMED=1 -DTAKES_BACK -DSPURIOUS=0
    holds destroyed -DGIVERS=2 -DTIMED=2 -DDESTROYS -DSPURIOUS=0
    holds semaphore -DGIVERS=2 -DSIGNALS=2 -DCEILING=3 -DTIMED=1 -DSPURIOUS=0
    holds gate -DMANUAL -DWAITERS=3
    holds gate-with-limits -DMANUAL -DTIMED=1 -DROUNDS=2 -DSIGNALS=2 -DTAKES_BACK
    holds gate-two-givers -DMANUAL -DGIVERS=2 -DTIMED=1 -DTAKES_BACK
    holds gate-destroyed -DMANUAL -DTIMED=2 -DDESTROYS

    breaks sleeps-unseen "$stuck" -DSLEEPS_UNSEEN
    breaks closes-unseen "$sum" -DCLOSES_UNSEEN
    breaks stays-closed "$line" -DSTAYS_CLOSED
    breaks leaves-closed "$line" -DTIMED=1 -DLEAVES_CLOSED
    breaks gives-up-late "$sum" -DTIMED=1 -DGIVES_UP_LATE
    breaks does-not-await 'onStack[' -DTIMED=1 -DDOES_NOT_AWAIT
    breaks passes-by '!(owed[' -DPASSES_BY
    breaks releases-inside '!(destroyed)' -DWAITERS=1 -DDESTROYS -DRELEASES_INSIDE
    breaks opens-for-nobody '!(destroyed)' -DMANUAL -DWAITERS=1 -DTIMED=1 -DDESTROYS -DOPENS_FOR_NOBODY
    breaks takes-back-blindly "$sum" -DTAKES_BACK -DTAKES_BACK_BLINDLY
    breaks forgets-line "$line" -DMANUAL -DFORGETS_LINE
}

check_shared_semaphore() {
    local subject=shared model=$root/src/platform/posix/shared_semaphore.pml
    local beside='!(asleep[i])' known='m_waiters>=known' ceiling='m_count<=' stuck='ended[i]||(asleep'
    holds killed -DWAITERS=2 -DPOSTERS=2 -DKILLS=2
    holds herd -DWAITERS=3 -DPOSTERS=1 -DPOSTS=2 -DSPURIOUS=0
    holds ceiling -DWAITERS=1 -DPOSTERS=3 -DCEILING=1
    holds again -DWAITERS=2 -DROUNDS=2 -DPOSTERS=1 -DPOSTS=3 -DCEILING=2
    holds with-limits -DWAITERS=2 -DTIMED=1 -DPOSTERS=2
    holds many-waiters -DWAITERS=3 -DTIMED=1 -DPOSTERS=1 -DPOSTS=2 -DMOST_WAITERS=1 -DSPURIOUS=0
    holds many-promises -DPOSTERS=3 -DMOST_PROMISES=1 -DKILLS=0 -DBESIDE_FOR_A_MOMENT

    # What stays: a poster that is killed beside as many others as promises can be written down.
    breaks one-more-promise "$stuck" -DMOST_PROMISES=0 -DBESIDE_FOR_A_MOMENT

    breaks sleeps-unseen "$beside" -DSLEEPS_UNSEEN -DKILLS=0
    breaks wakes-nobody "$beside" -DWAKES_NOBODY -DKILLS=0
    breaks wakes-one "$stuck" -DWAKES_ONE -DPOSTERS=1 -DBESIDE_FOR_A_MOMENT
    breaks wakes-apart "$stuck" -DWAKES_APART -DPOSTERS=1 -DBESIDE_FOR_A_MOMENT
    breaks promises-nothing "$ceiling" -DPROMISES_NOTHING -DCEILING=1 -DKILLS=0
    breaks registers-nobody "$beside" -DREGISTERS_NOBODY -DKILLS=0
    breaks forgets-the-many "$known" -DFORGETS_THE_MANY -DMOST_WAITERS=1 -DKILLS=0
    breaks strikes-twice "$known" -DSTRIKES_TWICE -DTIMED=1 -DKILLS=0
}

check_rwlock() {
    local subject=rwlock model=$root/src/locks/rwlock.pml
    local read=1 try_read=2 write=4 try_write=8 upgrade=16 try_upgrade=32
    local reader=$((read + try_read)) writer=$((write + try_write))
    local tries=$((try_read + try_write + try_upgrade))
    local stuck='done==' gate='overlap||leftOpen'
    holds reader-writer -DMAY_1=$reader -DMAY_2=$writer -DHOLDS=3
    holds upgrade -DMAY_1=$((read + upgrade)) -DMAY_2=$((read + tries))
    holds no-upgrade -DMAY_1=$((read + write + tries)) -DMAY_2=$((read + write + tries))
    holds anything-beside-tries -DMAY_1=$((read + write + upgrade + tries)) -DMAY_2=$((read + tries))
    holds readers-writer -DMAY_1=$reader -DMAY_2=$writer -DMAY_3=$read
    holds reader-writers -DMAY_1=$reader -DMAY_2=$write -DMAY_3=$writer -DHOLDS=1
    holds three-upgrade -DMAY_1=$((read + upgrade)) -DMAY_2=$reader -DMAY_3=$try_write -DHOLDS=1
    holds three-try -DMAY_1=$((read + tries)) -DMAY_2=$((read + try_upgrade)) -DMAY_3=$writer -DHOLDS=1

    # What callers have to keep clear of.
    breaks two-upgraders $stuck -DMAY_1=$((read + upgrade)) -DMAY_2=$((read + upgrade))
    breaks upgrader-and-writer $stuck -DMAY_1=$((read + upgrade)) -DMAY_2=$write
    breaks gate-left-open 'reads[1]==0' -DMAY_1=$read -DMAY_2=$((read + upgrade)) -DSTRICT
    breaks stuck-behind-it $stuck -DMAY_1=$read -DMAY_2=$((read + upgrade)) -DHOLDS=1 -DGOES_ON

    local upgrades="-DMAY_1=$read -DMAY_2=$((read + upgrade))"
    # shellcheck disable=SC2086
    {
        breaks count-alone $stuck $upgrades -DCOUNT_ALONE
        breaks marks-late $stuck $upgrades -DMARKS_LATE
        breaks forgets-parked "$gate" $upgrades -DFORGETS_PARKED
    }
    breaks try-marks "$gate" -DMAY_1=$read -DMAY_2=$((read + try_upgrade)) -DTRY_MARKS
    breaks swapped $stuck -DMAY_1=$try_write -DMAY_2=$((read + upgrade)) -DMAY_3=$read -DHOLDS=1 \
        -DTRY_MARKS -DSWAPPED
    breaks reads-anew 'reads[self]==0' -DMAY_1=$read -DMAY_2=$write -DREADS_ANEW
    breaks waits-outside 'atGate[1]==0' -DMAY_1=$read -DMAY_2=$write -DMAY_3=$read -DHOLDS=1 \
        -DWAITS_OUTSIDE
    breaks never-closes "$gate" -DMAY_1=$read -DMAY_2=$write -DNEVER_CLOSES
    breaks try-keeps $stuck -DMAY_1=$try_read -DMAY_2=$read -DTRY_KEEPS
}

check_models() {
    local models=$root/build/models
    check_critical_section
    check_event
    check_shared_semaphore
    check_rwlock
}
